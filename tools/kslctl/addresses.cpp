// SPDX-License-Identifier: Apache-2.0
#include "kslctl/addresses.h"

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstring>
#include <fmt/core.h>
#include <ksl/ksl.h>
#include <memory>
#include <signal.h>
#include <sys/mman.h>

namespace kslctl {

namespace {

// The chip's table holds no more. While it is walked or searched addresses come and go, so a few more may be found.
constexpr size_t kTableEntries = 8192;
constexpr size_t kRoom = 2 * kTableEntries;

Address address_of(const Bytes &raw) {
    Address address{{}, raw[1] & 0x1FU, (raw[1] & 0x80) != 0, raw, std::nullopt};
    std::copy(raw.begin() + 2, raw.end(), address.mac.begin());
    return address;
}

// ---- Walk and search know no limit but the chip's word ----

// A chip that never says that its table has ended would fill all memory. There is no way to stop the library but to
// leave it; it holds nothing while it walks or searches, and can be called again.
sigjmp_buf past_the_room;

// False when the operation went past the room.
template <typename Operation>
bool stays_within_room(const Operation &operation) {
    if (sigsetjmp(past_the_room, 1) != 0) { // NOLINT(cert-err52-cpp): exceptions do not pass through the library
        return false;
    }
    operation();
    return true;
}

[[noreturn]] void leave_library() {
    siglongjmp(past_the_room, 1); // NOLINT(cert-err52-cpp)
}

void report_endless(uint32_t chip, const char *operation, Report &report) {
    report.fail(chip, fmt::format("address table not read: {} found no end of it after {} entries, and it has room for "
                                  "{}; the chip gives no sensible answers",
                                  operation, kRoom, kTableEntries));
}

std::vector<Address> *walked = nullptr;

extern "C" void take_walked_entry(const uint8_t *entry) {
    if (walked->size() == kRoom) {
        leave_library();
    }
    Bytes raw{};
    std::copy_n(entry, raw.size(), raw.begin());
    walked->push_back(address_of(raw));
}

// The VLAN words of a search, behind which there is an inaccessible page.
class VlanWords {
public:
    VlanWords() : base_(mmap(nullptr, 2 * kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
        if (base_ == MAP_FAILED || mprotect(guard(), kSize, PROT_NONE) != 0) {
            throw std::bad_alloc();
        }
        current = this;
        struct sigaction action {};
        action.sa_sigaction = meet_guard;
        action.sa_flags = SA_SIGINFO;
        sigaction(SIGSEGV, &action, &former_);
    }
    ~VlanWords() {
        sigaction(SIGSEGV, &former_, nullptr);
        munmap(base_, 2 * kSize);
    }
    VlanWords(const VlanWords &) = delete;
    VlanWords &operator=(const VlanWords &) = delete;

    ksl_word *data() { return static_cast<ksl_word *>(base_); }

private:
    // A whole number of pages of any machine.
    static constexpr size_t kSize = kRoom * sizeof(ksl_word);
    static_assert(kSize % 0x10000 == 0);

    uint8_t *guard() const { return static_cast<uint8_t *>(base_) + kSize; }

    static void meet_guard(int, siginfo_t *info, void *) {
        const auto *const place = static_cast<const uint8_t *>(info->si_addr);
        if (place >= current->guard() && place < current->guard() + kSize) {
            leave_library();
        }
        sigaction(SIGSEGV, &current->former_, nullptr); // anything else happens again, and as usual
    }

    static VlanWords *current;
    void *base_;
    struct sigaction former_ {};
};

VlanWords *VlanWords::current = nullptr;

} // namespace

uint32_t vid_of(const Bytes &vid_raw) {
    return (uint32_t{vid_raw[0]} << 8 | vid_raw[1]) & 0xFFF;
}

Addresses list_addresses(uint32_t chip, bool all_ports, Report &report) {
    std::vector<ksl_arl_entry> entries(kTableEntries);
    uint32_t count = kTableEntries;
    if (const int32_t code = ksl_read_ARL_table(chip, all_ports ? 1 : 0, entries.data(), &count); code != 0) {
        report.fail({chip, "ksl_read_ARL_table", "address table", code});
        return {{}, false};
    }
    Addresses addresses;
    for (const ksl_arl_entry &entry : std::span(entries).first(count)) {
        Address &address =
            addresses.entries.emplace_back(Address{{}, entry.port, entry.flag55 != 0, std::nullopt, std::nullopt});
        std::copy(std::begin(entry.mac), std::end(entry.mac), address.mac.begin());
    }
    return addresses;
}

Addresses walk_addresses(uint32_t chip, Report &report) {
    Addresses addresses;
    walked = &addresses.entries;
    addresses.entries.reserve(kRoom);
    const bool ended = stays_within_room([chip] { __KSL_READ_ARL_TABLE(chip, take_walked_entry); });
    walked = nullptr;
    if (!ended) {
        report_endless(chip, "__KSL_READ_ARL_TABLE", report);
        return {{}, false};
    }
    return addresses;
}

Addresses search_addresses(uint32_t chip, Report &report) {
    VlanWords vlan_words;
    std::vector<ksl_raw_arl_entry> entries(kRoom);
    uint32_t count = 0;
    int32_t code = 0;
    const auto search = [&] { code = dbg_ksl_search_ARL_table(chip, vlan_words.data(), entries.data(), &count); };
    if (!stays_within_room(search)) {
        report_endless(chip, "dbg_ksl_search_ARL_table", report);
        return {{}, false};
    }
    if (code != 0) {
        report.fail(
            {chip, "dbg_ksl_search_ARL_table", "address table", code, count == 0 ? "not read" : "not read whole"});
    }
    Addresses addresses{{}, code == 0};
    for (size_t i = 0; i < count; ++i) {
        Bytes raw{};
        std::copy(std::begin(entries[i].bytes), std::end(entries[i].bytes), raw.begin());
        Address &address = addresses.entries.emplace_back(address_of(raw));
        std::memcpy(address.vid_raw.emplace().data(), vlan_words.data() + i, 2);
    }
    return addresses;
}

} // namespace kslctl
