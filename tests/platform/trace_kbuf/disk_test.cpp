// SPDX-License-Identifier: Apache-2.0
// Disks of every kind that fill up, are too small, or are taken away: the writer never notices. Needs the right to
// mount, which root has, and for most kinds the program that makes them.
#include "checker.h"
#include "fresh_library.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

using namespace trace_files;
using stamped::Checker;
using stamped::Finished;

namespace {

constexpr uint32_t kSize = 1 << 17;
constexpr uint32_t kSlots = kSize / sizeof(trace_kbuf::Slot);
constexpr int kNoDisk = 77;

struct Kind {
    const char *name;
    const char *options; // of tmpfs
    const char *size;    // of the others, in an image
    bool overlaid = false;

    friend void PrintTo(const Kind &kind, std::ostream *out) { *out << kind.name; }
};

class Disk : public TraceTest, public ::testing::WithParamInterface<Kind> {
protected:
    Disk() : disk_(path("disk")) {
        std::filesystem::create_directory(disk_);
        setenv("TRACE_KBUF_DIR", disk_.c_str(), 1);
    }

    // Runs `body` in a child that has the disk in a view of the file system that ends with it.
    void on_disk(const Kind &kind, const std::function<bool()> &body, const std::string &expected_stderr) {
        const Child child = run_child([&] { return !mount_disk(kind) ? kNoDisk : body() ? 0 : 1; });
        if (WIFEXITED(child.status) && WEXITSTATUS(child.status) == kNoDisk) {
            GTEST_SKIP() << "needs the right to mount, and what makes a disk of the kind " << kind.name;
        }
        EXPECT_TRUE(WIFEXITED(child.status)) << "signal " << WTERMSIG(child.status);
        EXPECT_EQ(child.status, 0);
        EXPECT_EQ(child.stderr_, expected_stderr);
    }

    bool can_write(uint32_t descriptor, const std::function<Snapshot()> &read) {
        for (uint32_t i = 0; i < kSlots + kSlots / 4; ++i) {
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

    // With large pieces first, then smaller ones, until nothing goes in any more.
    void fill() {
        for (int file = 0; file < 40; ++file) {
            std::ofstream other(disk_ + "/other" + std::to_string(file), std::ios::binary);
            const std::string piece(file < 8 ? 1u << (20 - file) : 1000, 'x');
            while (other << piece << std::flush) {
            }
        }
        sync_disk();
    }

    void sync_disk() {
        const int folder = ::open(disk_.c_str(), O_RDONLY | O_CLOEXEC);
        syncfs(folder);
        close(folder);
    }

    std::string disk_;
    Finished finished_{1};

private:
    bool mount_disk(const Kind &kind) {
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
            return false;
        }
        if (kind.size == nullptr) {
            return mount("tmpfs", disk_.c_str(), "tmpfs", 0, kind.options) == 0;
        }
        const std::string command = "PATH=$PATH:/usr/sbin:/sbin; image=" + path("image") +
                                    "; rm -f $image; truncate -s " + kind.size + " $image && mkfs." + kind.name +
                                    " -q $image && mount -o loop -t " + kind.name + " $image " + disk_;
        if (std::system(("(" + command + ") >" + path("log") + " 2>&1").c_str()) != 0) {
            return false;
        }
        if (!kind.overlaid) {
            return true;
        }
        for (const char *folder : {"/lower", "/upper", "/work"}) {
            std::filesystem::create_directory(disk_ + folder);
        }
        const std::string options =
            "lowerdir=" + disk_ + "/lower,upperdir=" + disk_ + "/upper,workdir=" + disk_ + "/work";
        return mount("overlay", disk_.c_str(), "overlay", 0, options.c_str()) == 0 && chmod(disk_.c_str(), 0700) == 0;
    }
};

constexpr Kind kSmall{"tmpfs", "size=64k,mode=0700", nullptr};
constexpr Kind kMemory{"tmpfs", "size=2m,mode=0700", nullptr};

// The file's blocks are there before its first record; a store into a page without one would end in SIGBUS. Pages that
// were written back in between are the ones for which some file systems want another place.
TEST_P(Disk, FillsUp) {
    const auto body = [&] {
        uint32_t descriptor = open("FILE", kSize);
        const auto read = [&] { return of_file(disk_ + "/FILE.kbuf"); };
        if (!can_write(descriptor, read)) {
            return false;
        }
        fill();
        for (int round = 0; round < 2; ++round) {
            if (!can_write(descriptor, read)) {
                return false;
            }
            sync_disk();
        }
        // The next buffer finds no place any more.
        setenv("TRACE_KBUF_SIZE", "128K", 1);
        const FreshLibrary library;
        library.write(library.open("SECOND", kSize), 1);
        return library.live("SECOND")->record_count == 1 &&
                       of_file(disk_ + "/SECOND.kbuf")->status == TRACE_KBUF_UNREADABLE
                   ? true
                   : says("SECOND is not in memory alone");
    };
    on_disk(GetParam(), body,
            "trace_kbuf: cannot keep buffer \"SECOND\" in " + disk_ +
                "/SECOND.kbuf: No space left on device; recording in memory instead\n");
}

INSTANTIATE_TEST_SUITE_P(Kinds, Disk,
                         ::testing::Values(kMemory, Kind{"ext2", nullptr, "8M"}, Kind{"ext4", nullptr, "8M"},
                                           Kind{"xfs", nullptr, "300M"}),
                         [](const auto &kind) { return std::string(kind.param.name); });

using OneDisk = Disk;

// There memory is used, and a full disk is of no interest.
TEST_F(OneDisk, CopiesOnWrite) {
    for (const bool overlaid : {false, true}) {
        const auto body = [&] {
            setenv("TRACE_KBUF_SIZE", "128K", 1);
            const FreshLibrary library;
            const uint32_t descriptor = library.open("FILE", kSize);
            fill();
            for (uint32_t i = 0; i < 2 * kSlots; ++i) {
                library.write(descriptor, i);
            }
            return !std::filesystem::exists(disk_ + "/FILE.kbuf") && library.live("FILE")->record_count == kSlots;
        };
        on_disk({"btrfs", nullptr, "120M", overlaid}, body,
                "trace_kbuf: cannot keep buffer \"FILE\" in " + disk_ +
                    "/FILE.kbuf: its file system copies on write, so that a full disk would end this process; choose a "
                    "TRACE_KBUF_DIR in a tmpfs, such as /run or /dev/shm; recording in memory instead\n");
    }
}

TEST_F(OneDisk, IsTooSmall) {
    const auto body = [&] {
        const FreshLibrary library;
        const uint32_t descriptor = library.open("FILE", 65536);
        for (uint32_t i = 0; i < 2000; ++i) {
            library.write(descriptor, i);
        }
        return !std::filesystem::exists(disk_ + "/FILE.kbuf") && library.live("FILE")->record_count == 1024;
    };
    on_disk(kSmall, body,
            "trace_kbuf: cannot keep buffer \"FILE\" in " + disk_ +
                "/FILE.kbuf: No space left on device; recording in memory instead\n");
}

TEST_F(OneDisk, IsTakenAway) {
    const auto body = [&] {
        uint32_t descriptor = open("FILE", kSize);
        if (!can_write(descriptor, [&] { return of_file(disk_ + "/FILE.kbuf"); })) {
            return false;
        }
        if (umount2(disk_.c_str(), MNT_DETACH) != 0 || std::filesystem::exists(disk_ + "/FILE.kbuf")) {
            return says("the disk is still there");
        }
        return can_write(descriptor, [] { return live("FILE"); });
    };
    on_disk(kMemory, body, "");
}

} // namespace
