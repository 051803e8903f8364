// SPDX-License-Identifier: Apache-2.0
// Trouble with the disk while a buffer is open in a file of it: the writer never notices.
//
// A disk that fills up and one that is taken away need the right to mount, which root has; the others need none.
#include "judge.h"
#include "trace_files.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>

using namespace trace_files;
using stamped::Finished;
using stamped::Judge;

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
        const std::string problem = Judge(finished_).completeness(*snapshot);
        return problem.empty() && snapshot->record_count == kSlots ? true : says("misread: " + problem);
    }

    static bool says(const std::string &text) {
        std::cerr << text << std::endl;
        return false;
    }

    // Runs `body` where `folder_` is a disk of its own, in a view of the file system that ends with the child.
    void on_a_disk_of_its_own(const std::function<bool()> &body, const std::string &expected_stderr) {
        constexpr int cannot_mount = 77;
        const Child child = run_child([&] {
            if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
                mount("tmpfs", folder_.c_str(), "tmpfs", 0, "size=256k") != 0) {
                return cannot_mount;
            }
            return body() ? 0 : 1;
        });
        if (WIFEXITED(child.status) && WEXITSTATUS(child.status) == cannot_mount) {
            GTEST_SKIP() << "needs the right to mount";
        }
        EXPECT_EQ(child.status, 0);
        EXPECT_EQ(child.stderr_, expected_stderr);
    }

    Finished finished_{1};
};

// The file's blocks are there before its first record; a store into a hole would end in SIGBUS.
TEST_F(Trouble, TheDiskFillsUp) {
    const auto body = [&] {
        uint32_t descriptor = open(kName, kSize);
        std::ofstream other(path("other"), std::ios::binary);
        while (other << std::string(4096, 'x') << std::flush) {
        }
        if (std::filesystem::space(folder_).available != 0) {
            return says("the disk is not full");
        }
        if (!can_write(descriptor, [&] { return of_file(file()); })) {
            return false;
        }
        // The next buffer finds no place any more.
        uint32_t second = open("SECOND", kSize);
        for (uint32_t i = 0; i < 2 * kSlots; ++i) {
            write_numbered(second, i);
        }
        return live("SECOND")->record_count == kSlots && of_file(path("SECOND.kbuf"))->status == TRACE_KBUF_UNREADABLE
                   ? true
                   : says("SECOND is not in memory alone");
    };
    on_a_disk_of_its_own(body, "trace_kbuf: cannot keep buffer \"SECOND\" in " + path("SECOND.kbuf") +
                                   ": No space left on device; recording in memory instead\n");
}

TEST_F(Trouble, TheDiskIsTakenAway) {
    const auto body = [&] {
        uint32_t descriptor = open(kName, kSize);
        if (!can_write(descriptor, [&] { return of_file(file()); })) {
            return false;
        }
        if (umount2(folder_.c_str(), MNT_DETACH) != 0 || std::filesystem::exists(file())) {
            return says("the disk is still there");
        }
        return can_write(descriptor, [] { return live(kName); });
    };
    on_a_disk_of_its_own(body, "");
}

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
