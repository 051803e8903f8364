// SPDX-License-Identifier: Apache-2.0
// A state of the simulated hub with any damage, then any accesses: each shows what can be, or says that the state is
// damaged and leaves it as it is. Accesses alone never damage a state.
#include "input.h"
#include "lines.h"

#include <chip/addresses.h>
#include <chip/configurations.h>
#include <chip/registers.h>
#include <chip/stored.h>
#include <problem.h>
#include <state/clock.h>
#include <state/transaction.h>

#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using namespace fuzz;

constexpr char kHub[] = R"({"name": "fuzzed", "chips": [
    { "chip": 0, "seed": 7,
      "ports": [{ "port": 0, "link": true, "rates": [{ "offset": "0x18", "per_second": 2600 }] },
                { "port": 3, "link": true, "pvid": 100 }, { "port": 5, "link": false, "self_test": "fail" }],
      "vlan": { "enabled": true, "entries": [{ "vid": 100, "field": 1, "lower_map": "0x8" }] },
      "addresses": [{ "mac": "02:00:00:00:00:01", "port": 0, "static": true },
                    { "mac": "02:00:00:00:00:02", "port": 3 },
                    { "mac": "02:00:00:00:00:03", "port": 3, "silent": true }] },
    { "chip": 1, "addresses": [{ "mac": "02:00:00:00:00:04", "port": 23 }] }]})";
constexpr uint8_t kChips = 2;
constexpr size_t kMostAddresses = 3;

// A state file of its own, which each input finds whole.
class Hub {
public:
    Hub() {
        hwa::StateFile made = state();
        { const hwa::Transaction first(made); }
        const int file = open(made.path().c_str(), O_RDWR | O_CLOEXEC);
        void *const memory = mmap(nullptr, sizeof(hwa::HubImage), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        close(file);
        require(memory != MAP_FAILED, "the state can be mapped");
        bytes_ = {static_cast<uint8_t *>(memory), sizeof(hwa::HubImage)};
        whole_.assign(bytes_.data(), bytes_.data() + bytes_.size());
    }
    Hub(const Hub &) = delete;
    Hub &operator=(const Hub &) = delete;
    ~Hub() { std::filesystem::remove_all(folder_); }

    std::span<uint8_t> bytes() const { return bytes_; }
    void mend() { std::memcpy(bytes_.data(), whole_.data(), bytes_.size()); }
    hwa::StateFile state() const { return {folder_, scenario_}; }

private:
    static std::string made_folder() {
        std::string folder = std::filesystem::temp_directory_path() / "fuzz-state-XXXXXX";
        require(mkdtemp(folder.data()) != nullptr, "a folder can be made");
        return folder;
    }

    const std::string folder_ = made_folder();
    const hwa::Scenario scenario_ = hwa::parse_scenario(kHub);
    std::span<uint8_t> bytes_;
    std::vector<uint8_t> whole_;
};

// The marks and notes at the start, and the parts of a chip that are not the large tables, get half of all damage each.
void damage(Input &input, std::span<uint8_t> bytes) {
    const bool marks = input.flag();
    const uint32_t chip = input.up_to(kChips - 1);
    const uint32_t anywhere = input.word();
    size_t place = anywhere % bytes.size();
    if (marks) {
        place = anywhere % offsetof(hwa::HubImage, chips);
    } else if (input.flag()) {
        const size_t parts[] = {0, offsetof(hwa::ChipImage, time), offsetof(hwa::ChipImage, address_count),
                                offsetof(hwa::ChipImage, table_access), offsetof(hwa::ChipImage, pages) + 0x1000};
        place = offsetof(hwa::HubImage, chips) + chip * sizeof(hwa::ChipImage) + parts[anywhere % std::size(parts)] +
                (anywhere >> 8) % 512;
    }
    const size_t length = std::min<size_t>(1 + input.up_to(7), bytes.size() - place);
    input.fill(&bytes[place], length);
}

uint64_t number_of(std::span<const uint8_t> bytes) {
    uint64_t number = 0;
    for (const uint8_t byte : bytes) {
        number = number << 8 | byte;
    }
    return number;
}

void check_status(hwa::Transaction &transaction, const hwa::ChipImage &chip) {
    const auto value = [&](const ksl_register &place) {
        std::array<uint8_t, hwa::kMaxRegister> bytes{};
        const auto wanted = std::span(bytes).first(place.length);
        read_register(transaction, chip, place.page, place.offset, wanted);
        return number_of(wanted);
    };
    constexpr uint64_t kPortBits = (1U << hwa::kPorts) - 1;
    require(value(ksl_switch_mode_register) <= 3, "a mode has two bits");
    const uint64_t up = value(ksl_link_status_register);
    require((up & ~kPortBits) == 0, "links are of ports");
    require((value(ksl_port_speed_register) & ~up) == 0, "a port without a link has no speed");
    require(value(ksl_learned_addresses_register) <= kMostAddresses, "no address is learned twice");
    hwa::AddressScan scan(chip);
    size_t count = 0;
    while (const hwa::AddressImage *const entry = scan.next()) {
        require(++count <= kMostAddresses, "no address is invented");
        require(hwa::port_of(*entry) < hwa::kPorts, "an address is at a port");
    }
}

void access(Input &input, hwa::Transaction &transaction, const hwa::ChipImage &chip) {
    hwa::Clock(input.flag() ? "1s" : "4294967295s").advance(transaction, chip);
    const uint32_t kind = input.up_to(3);
    const uint8_t page = input.byte();
    const uint8_t offset = input.byte();
    std::array<uint8_t, hwa::kMaxRegister> bytes{};
    const auto part = std::span(bytes).first(1 + input.up_to(hwa::kMaxRegister - 1));
    const bool fits = hwa::is_register(offset, static_cast<uint32_t>(part.size()));
    if (kind == 0 && fits) {
        input.fill(part.data(), part.size());
        write_register(transaction, chip, page, offset, part);
    } else if (kind == 1 && fits) {
        read_register(transaction, chip, page, offset, part);
    } else if (kind == 2) {
        configure(transaction, chip, page);
    } else {
        check_status(transaction, chip);
        transaction.commit();
        if (kind == 3 && page == 0) {
            transaction.reset(chip);
        }
        return;
    }
    transaction.commit();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
    static Hub hub;
    static std::vector<uint8_t> before(hub.bytes().size());
    hub.mend();
    hwa::StateFile state = hub.state();
    Input input(bytes, size);
    const uint32_t damages = input.up_to(7);
    for (uint32_t i = 0; i < damages; ++i) {
        damage(input, hub.bytes());
    }
    std::array<bool, kChips> is_whole{};
    is_whole.fill(damages == 0);
    for (int i = 0; i < 64 && !input.used_up(); ++i) {
        const uint8_t number = static_cast<uint8_t>(input.up_to(kChips - 1));
        if (!is_whole[number]) {
            std::memcpy(before.data(), hub.bytes().data(), before.size());
        }
        try {
            hwa::Transaction transaction(state);
            const hwa::ChipImage *const chip = transaction.chip(number);
            require(chip != nullptr, "the chips of a scenario are there");
            is_whole[number] = true;
            access(input, transaction, *chip);
        } catch (const hwa::Unusable &problem) {
            require(!is_whole[number], "an access leaves a state that can be");
            require(is_line(problem.what()), "a complaint is one line");
            // What a killed process left is mended before a chip is looked at.
            const bool mended =
                std::string_view(problem.what()).find("(chip ") != std::string_view::npos &&
                (before[offsetof(hwa::HubImage, resetting)] != 0 || before[offsetof(hwa::HubImage, note_count)] != 0);
            require(mended || std::memcmp(before.data(), hub.bytes().data(), before.size()) == 0,
                    "a damaged state is left as it is");
        }
    }
    return 0;
}
