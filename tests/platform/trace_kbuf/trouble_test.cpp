// SPDX-License-Identifier: Apache-2.0
// Trouble with the folder of an open buffer: the writer never notices.
#include "checker.h"
#include "trace_files.h"

#include <sys/resource.h>

using namespace trace_files;
using stamped::Checker;
using stamped::Finished;

namespace {

constexpr char kName[] = "TROUBLE";
constexpr uint32_t kSize = 65536;
constexpr uint32_t kSlots = kSize / sizeof(trace_kbuf::Slot);

class Trouble : public TraceTest {
protected:
    Trouble() { use_files(); }

    std::string file() const { return path(std::string(kName) + ".kbuf"); }

    // Whether records can be written until the ring has turned, and `read` then shows what it has to.
    bool can_write(uint32_t descriptor, const std::function<Snapshot()> &read) {
        for (uint32_t i = 0; i < 3 * kSlots; ++i) {
            if (finished_.write_next(descriptor, 0) != 0) {
                return says("a record was not written");
            }
        }
        const Snapshot snapshot = read();
        const std::string problem = Checker(finished_).completeness(*snapshot);
        return problem.empty() && snapshot->record_count == kSlots ? true : says("misread: " + problem);
    }

    static bool says(const std::string &text) {
        std::cerr << text << std::endl;
        return false;
    }

    Finished finished_{1};
};

TEST_F(Trouble, TheFolderVanishes) {
    const Child child = run_child([&] {
        uint32_t descriptor = open(kName, kSize);
        if (!can_write(descriptor, [&] { return of_file(file()); })) {
            return 1;
        }
        std::filesystem::remove_all(folder_);
        if (!can_write(descriptor, [] { return live(kName); }) || trace_kbuf_free(&descriptor) != 0) {
            return 1;
        }
        // Opened again, it is made anew.
        finished_[0] = 0;
        descriptor = open(kName, kSize);
        return can_write(descriptor, [&] { return of_file(file()); }) ? 0 : 1;
    });
    EXPECT_EQ(child.status, 0);
    EXPECT_EQ(child.stderr_, "");
    EXPECT_EQ(of_file(file())->written, 3 * kSlots);
}

// Going past a limit of file size would raise SIGXFSZ.
TEST_F(Trouble, NoFileMayGrowAnyMore) {
    const Child child = run_child([&] {
        uint32_t descriptor = open(kName, kSize);
        const rlimit none{0, 0};
        if (setrlimit(RLIMIT_FSIZE, &none) != 0) {
            return 1;
        }
        return can_write(descriptor, [&] { return of_file(file()); }) ? 0 : 1;
    });
    EXPECT_EQ(child.status, 0);
    EXPECT_EQ(child.stderr_, "");
}

} // namespace
