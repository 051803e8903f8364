// SPDX-License-Identifier: Apache-2.0
// How much of a thread's stack an access needs: little, also the first, which sets up the hub.
#include "library.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <pthread.h>
#include <sys/mman.h>

namespace hwa_test {
namespace {

constexpr size_t kEnough = 32768;

// A stack that knows how deep it was used.
class Stack {
public:
    Stack() {
        void *const memory = mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) {
            std::abort();
        }
        bytes_ = static_cast<uint8_t *>(memory);
        std::fill(bytes_, bytes_ + kSize, kUnused);
    }
    Stack(const Stack &) = delete;
    Stack &operator=(const Stack &) = delete;
    ~Stack() { munmap(bytes_, kSize); }

    // Runs `work` in a thread on this stack and returns the bytes that it used.
    size_t used_by(const std::function<void()> &work) {
        struct Run {
            const std::function<void()> &work;
            const uint8_t *start;
        } run{work, nullptr};
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstack(&attributes, bytes_, kSize);
        pthread_t thread{};
        const auto body = [](void *argument) -> void * {
            auto &mine = *static_cast<Run *>(argument);
            mine.start = static_cast<const uint8_t *>(__builtin_frame_address(0));
            mine.work();
            return nullptr;
        };
        EXPECT_EQ(pthread_create(&thread, &attributes, body, &run), 0);
        EXPECT_EQ(pthread_join(thread, nullptr), 0);
        pthread_attr_destroy(&attributes);
        const uint8_t *const deepest =
            std::find_if(bytes_, bytes_ + kSize, [](uint8_t byte) { return byte != kUnused; });
        return static_cast<size_t>(run.start - deepest);
    }

private:
    static constexpr size_t kSize = 4U << 20;
    static constexpr uint8_t kUnused = 0xA5;
    uint8_t *bytes_;
};

class HubStack : public HubTest {
protected:
    static void expect_little(const std::function<void()> &work) {
        const size_t used = Stack().used_by(work);
        EXPECT_GT(used, 0U);
        EXPECT_LE(used, kEnough);
        RecordProperty("bytes_of_stack", std::to_string(used));
    }

    static void use_everything(const Library &library, int32_t result) {
        std::array<std::array<uint8_t, 8>, 16> entries{};
        std::array<uint8_t, 8> bytes{};
        ksl_reg_request request{1, 0, {}, 1, {}};
        uint32_t count = entries.size();
        EXPECT_EQ(library.get(0, 1, 0x10, 4, bytes.data()), result);
        EXPECT_EQ(library.set(0, 0x10, 0, 2, bytes.data()), result);
        EXPECT_EQ(library.get(0, 0x41, 0x30, 2, bytes.data()), result);
        EXPECT_EQ(library.get_many(0, &request, 1), result);
        EXPECT_EQ(library.get_macs(0, entries.data(), &count), result);
        EXPECT_EQ(library.configure(0, 2), result);
        EXPECT_EQ(library.filter(0, 0), result);
        EXPECT_EQ(library.reset(0), result);
        EXPECT_FALSE(library.description().empty());
    }
};

TEST_F(HubStack, OfTheFirstAndEveryAccessIsSmall) {
    const Library library;
    expect_little([&] { use_everything(library, 0); });
    expect_little([&] { use_everything(library, 0); });
}

TEST_F(HubStack, IsSmallWithAllThatTheEnvironmentCanSay) {
    set("HWA_SIM_SCENARIO", HWA_SCENARIOS "/busy.json");
    set("HWA_SIM_FAULTS", "getreg page=1 delay=1us; any nth=1000 code=5");
    set("HWA_SIM_LOG", folder / "log");
    set("HWA_SIM_CLOCK", "10ms");
    const Library library;
    expect_little([&] { use_everything(library, 0); });
}

TEST_F(HubStack, IsSmallWhenTheHubCannotBeUsed) {
    write_file(folder / "hub.json", std::string(15, '[') + "1.5e300, x");
    set("HWA_SIM_SCENARIO", folder / "hub.json");
    StderrCapture capture;
    const Library library;
    expect_little([&] { use_everything(library, 105); });
}

TEST_F(HubStack, IsSmallWhenTheStateCannotBeUsed) {
    set("HWA_SIM_DIR", "/proc/none");
    StderrCapture capture;
    const Library library;
    expect_little([&] { use_everything(library, 105); });
}

} // namespace
} // namespace hwa_test
