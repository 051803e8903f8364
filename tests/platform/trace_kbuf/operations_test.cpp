// SPDX-License-Identifier: Apache-2.0
// The five operations as a program sees them, in memory.
#include "trace_files.h"

#include <algorithm>
#include <atomic>
#include <ctime>
#include <set>
#include <thread>

using namespace trace_files;

namespace {

using Operations = TraceTest;

TEST_F(Operations, KeepIdentifierHeaderValuesAndWriter) {
    uint32_t descriptor = open("A");
    EXPECT_EQ(trace_kbuf_write_ints5(descriptor, header(5, 321), 0xcafe0001, 1, 2, 3, 4, 0xffffffff), 0);
    EXPECT_EQ(trace_kbuf_write_ints9(descriptor, header(9, 65535), 0xcafe0002, 1, 2, 3, 4, 5, 6, 7, 8, 9), 0);
    EXPECT_EQ(trace_kbuf_write_all(descriptor, 0xcafe0003, " ", 77, 0), 0);

    const Snapshot snapshot = live("A");
    ASSERT_EQ(snapshot->status, TRACE_KBUF_WHOLE) << snapshot->problem;
    EXPECT_STREQ(snapshot->problem, "");
    ASSERT_EQ(snapshot->record_count, 3u);
    EXPECT_EQ(snapshot->written, 3u);
    EXPECT_EQ(snapshot->overwritten, 0u);
    EXPECT_EQ(snapshot->incomplete, 0u);
    const trace_kbuf_record *r = snapshot->records;
    EXPECT_EQ(r[0].sequence, 0u);
    EXPECT_EQ(r[0].identifier, 0xcafe0001);
    EXPECT_EQ(r[0].header, header(5, 321));
    EXPECT_EQ(r[0].line, 321u);
    EXPECT_EQ(r[0].value_count, 5u);
    const uint32_t five[9] = {1, 2, 3, 4, 0xffffffff, 0, 0, 0, 0};
    EXPECT_EQ(std::memcmp(r[0].values, five, sizeof five), 0);
    EXPECT_EQ(r[0].writer, static_cast<uint32_t>(getpid()));
    EXPECT_EQ(r[1].sequence, 1u);
    EXPECT_EQ(r[1].line, 65535u);
    const uint32_t nine[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(std::memcmp(r[1].values, nine, sizeof nine), 0);
    EXPECT_EQ(r[2].identifier, 0xcafe0003);
    EXPECT_EQ(r[2].header, 77u);
    EXPECT_EQ(r[2].value_count, 0u);
    EXPECT_EQ(trace_kbuf_free(&descriptor), 0);
}

TEST_F(Operations, ShowAsManyValuesAsTheHeaderCounts) {
    uint32_t descriptor = open("A");
    for (uint32_t count = 0; count <= 10; ++count) {
        trace_kbuf_write_ints9(descriptor, header(count), count, 11, 12, 13, 14, 15, 16, 17, 18, 19);
    }
    const Snapshot snapshot = live("A");
    ASSERT_EQ(snapshot->record_count, 11u);
    for (uint32_t count = 0; count <= 10; ++count) {
        const trace_kbuf_record &record = snapshot->records[count];
        EXPECT_EQ(record.header, header(count));
        ASSERT_EQ(record.value_count, std::min(count, 9u));
        for (uint32_t i = 0; i < 9; ++i) {
            EXPECT_EQ(record.values[i], i < record.value_count ? 11 + i : 0) << count << " values, value " << i;
        }
    }
    trace_kbuf_free(&descriptor);
}

TEST_F(Operations, ALineIsNeverTakenForACount) {
    uint32_t descriptor = open("A");
    trace_kbuf_write_all(descriptor, 1, nullptr, (5u << 16) | 9, 1);
    EXPECT_EQ(live("A")->records[0].header, 9u);
    EXPECT_EQ(live("A")->records[0].value_count, 0u);
    trace_kbuf_free(&descriptor);
}

TEST_F(Operations, DescribeTheBuffer) {
    uint32_t descriptor = open("the name", 32768);
    const Snapshot snapshot = live("the name");
    EXPECT_EQ(snapshot->version, 2u);
    EXPECT_EQ(snapshot->byte_order,
              std::endian::native == std::endian::big ? TRACE_KBUF_BIG_ENDIAN : TRACE_KBUF_LITTLE_ENDIAN);
    EXPECT_EQ(snapshot->word_bits, sizeof(void *) * 8);
    EXPECT_STREQ(snapshot->name, "the name");
    EXPECT_EQ(std::string(snapshot->writer).substr(0, 11), "trace_kbuf ");
    EXPECT_EQ(snapshot->size, 32768u);
    EXPECT_EQ(snapshot->capacity, 512u);
    EXPECT_EQ(snapshot->record_count, 0u);
    EXPECT_EQ(snapshot->written, 0u);
    trace_kbuf_free(&descriptor);
}

TEST_F(Operations, AFullRingLosesItsOldestRecords) {
    uint32_t descriptor = open("A", 4096);
    for (uint32_t total = 1; total <= 300; ++total) {
        ASSERT_EQ(write_numbered(descriptor, total - 1), 0);
        const Snapshot snapshot = live("A");
        const uint32_t kept = std::min(total, 64u);
        ASSERT_EQ(snapshot->record_count, kept);
        ASSERT_EQ(snapshot->written, total);
        ASSERT_EQ(snapshot->overwritten, total - kept);
        ASSERT_EQ(snapshot->incomplete, 0u);
        for (uint32_t i = 0; i < kept; ++i) {
            ASSERT_EQ(snapshot->records[i].sequence, total - kept + i);
            ASSERT_EQ(snapshot->records[i].identifier, total - kept + i);
            ASSERT_TRUE(is_numbered(snapshot->records[i]));
        }
    }
    trace_kbuf_free(&descriptor);
}

TEST_F(Operations, ASizeThatIsNoPowerOfTwoIsRoundedUp) {
    const struct {
        uint32_t asked, given;
    } sizes[] = {{1, 128}, {128, 128}, {129, 256}, {32768, 32768}, {40000, 65536}, {1 << 24, 1 << 24}};
    for (const auto &size : sizes) {
        uint32_t descriptor = 0;
        ASSERT_EQ(trace_kbuf_init_buffer(&descriptor, "SIZE", size.asked), 0);
        EXPECT_EQ(live("SIZE")->size, size.given);
        for (uint32_t i = 0; i < 300; ++i) {
            write_numbered(descriptor, i);
        }
        const Snapshot snapshot = live("SIZE");
        EXPECT_EQ(snapshot->record_count, std::min(size.given / 64, 300u));
        EXPECT_EQ(snapshot->records[snapshot->record_count - 1].identifier, 299u);
        trace_kbuf_free(&descriptor);
    }
}

TEST_F(Operations, WrongArgumentsOpenNothing) {
    const std::string long_name(64, 'n');
    const struct {
        const char *name;
        uint32_t size;
    } wrong[] = {{nullptr, 4096},      {"", 4096},        {"A", 0},
                 {"A", (1 << 24) + 1}, {"A", UINT32_MAX}, {long_name.c_str(), 4096}};
    for (const auto &arguments : wrong) {
        uint32_t descriptor = 99;
        EXPECT_EQ(trace_kbuf_init_buffer(&descriptor, arguments.name, arguments.size), -1);
        EXPECT_EQ(descriptor, 0u);
    }
    EXPECT_EQ(trace_kbuf_init_buffer(nullptr, "A", 4096), -1);
    EXPECT_EQ(live("A")->status, TRACE_KBUF_UNREADABLE);

    uint32_t longest = open(long_name.substr(1).c_str());
    EXPECT_EQ(std::string(live(long_name.substr(1).c_str())->name), long_name.substr(1));
    trace_kbuf_free(&longest);
}

int write_one_of_each(uint32_t descriptor) {
    return trace_kbuf_write_ints5(descriptor, header(1), 1, 1, 0, 0, 0, 0) +
           trace_kbuf_write_ints9(descriptor, header(1), 1, 1, 0, 0, 0, 0, 0, 0, 0, 0) +
           trace_kbuf_write_all(descriptor, 1, " ", 1, 0);
}

TEST_F(Operations, ZeroAndStaleDescriptorsWriteNothing) {
    EXPECT_EQ(write_one_of_each(0), -3);
    uint32_t descriptor = open("A");
    EXPECT_EQ(write_one_of_each(descriptor), 0);
    EXPECT_EQ(write_one_of_each(0), -3);
    const uint32_t stale = descriptor;
    EXPECT_EQ(trace_kbuf_free(&descriptor), 0);
    EXPECT_EQ(descriptor, 0u);
    EXPECT_EQ(write_one_of_each(stale), -3);

    // Also when the place in the table was taken again, by the same name or by another.
    for (const char *name : {"A", "B"}) {
        uint32_t next = open(name);
        EXPECT_NE(next, stale);
        EXPECT_EQ(write_one_of_each(stale), -3);
        EXPECT_EQ(live(name)->record_count, 0u);
        EXPECT_EQ(trace_kbuf_free(&next), 0);
    }
    for (const uint32_t invented : {1u, 15u, stale + 1, stale ^ 0x80000000u, UINT32_MAX}) {
        EXPECT_EQ(write_one_of_each(invented), -3) << invented;
    }
}

TEST_F(Operations, FreeingNothingIsAnswered) {
    uint32_t descriptor = open("A");
    uint32_t stale = descriptor;
    EXPECT_EQ(trace_kbuf_free(&descriptor), 0);
    EXPECT_EQ(trace_kbuf_free(&descriptor), -1);
    EXPECT_EQ(trace_kbuf_free(&stale), -1);
    EXPECT_EQ(stale, 0u);
    EXPECT_EQ(trace_kbuf_free(nullptr), -1);
}

TEST_F(Operations, OpeningAnOpenNameGivesTheSameBuffer) {
    uint32_t first = open("A", 4096);
    write_numbered(first, 1);
    uint32_t second = open("A", 8192);
    EXPECT_EQ(second, first);
    write_numbered(second, 2);
    const Snapshot snapshot = live("A");
    EXPECT_EQ(snapshot->record_count, 2u);
    EXPECT_EQ(snapshot->size, 4096u);
    EXPECT_EQ(trace_kbuf_free(&first), 0);
    EXPECT_EQ(trace_kbuf_free(&second), -1);
}

TEST_F(Operations, AFreedBufferStartsEmptyAgain) {
    for (uint32_t round = 0; round < 5; ++round) {
        uint32_t descriptor = open("A", 4096u << (round % 2));
        EXPECT_EQ(live("A")->written, 0u);
        write_numbered(descriptor, round);
        EXPECT_EQ(live("A")->written, 1u);
        trace_kbuf_free(&descriptor);
        EXPECT_EQ(live("A")->status, TRACE_KBUF_UNREADABLE);
        EXPECT_STREQ(live("A")->problem, "A: no such buffer is open in this process");
    }
}

TEST_F(Operations, SeveralBuffersKeepApart) {
    std::vector<uint32_t> descriptors;
    for (uint32_t i = 0; i < 16; ++i) {
        descriptors.push_back(open(("N" + std::to_string(i)).c_str(), 4096));
    }
    EXPECT_EQ(std::set<uint32_t>(descriptors.begin(), descriptors.end()).size(), 16u);
    uint32_t one_too_many = 5;
    EXPECT_EQ(trace_kbuf_init_buffer(&one_too_many, "N16", 4096), -1);
    EXPECT_EQ(one_too_many, 0u);
    EXPECT_EQ(open("N7"), descriptors[7]);
    for (uint32_t i = 0; i < 16; ++i) {
        for (uint32_t n = 0; n <= i; ++n) {
            write_numbered(descriptors[i], 1000 * i + n);
        }
    }
    for (uint32_t i = 0; i < 16; ++i) {
        const Snapshot snapshot = live(("N" + std::to_string(i)).c_str());
        ASSERT_EQ(snapshot->record_count, i + 1);
        EXPECT_EQ(snapshot->records[i].identifier, 1001 * i);
        EXPECT_EQ(trace_kbuf_free(&descriptors[i]), 0);
    }
}

TEST_F(Operations, ThreadsShareABufferWithoutLosingARecord) {
    constexpr uint32_t threads = 4;
    constexpr uint32_t each = 16'000;
    uint32_t descriptor = open("A", 64 * 65536);
    std::vector<std::thread> writers;
    std::atomic<uint32_t> ready = 0;
    for (uint32_t t = 0; t < threads; ++t) {
        writers.emplace_back([descriptor, t, &ready] {
            for (++ready; ready < threads; std::this_thread::yield()) {
            }
            for (uint32_t i = 0; i < each; ++i) {
                write_numbered(descriptor, t * each + i);
            }
        });
    }
    for (std::thread &writer : writers) {
        writer.join();
    }
    const Snapshot snapshot = live("A");
    ASSERT_EQ(snapshot->record_count, threads * each);
    std::vector<uint32_t> next(threads, 0);
    std::vector<std::set<uint32_t>> ids(threads);
    for (size_t i = 0; i < snapshot->record_count; ++i) {
        const trace_kbuf_record &record = snapshot->records[i];
        ASSERT_TRUE(is_numbered(record));
        ASSERT_EQ(record.sequence, i);
        const uint32_t thread = record.identifier / each;
        ASSERT_EQ(record.identifier % each, next.at(thread)++) << "out of order";
        ids.at(thread).insert(record.writer);
    }
    std::set<uint32_t> all;
    for (const auto &of_one : ids) {
        EXPECT_EQ(of_one.size(), 1u);
        all.insert(of_one.begin(), of_one.end());
    }
    EXPECT_EQ(all.size(), threads);
    trace_kbuf_free(&descriptor);
}

// Long enough that threads do run at the same time, also on a busy machine.
TEST_F(Operations, NoTwoThreadsGetTheSameNumber) {
    constexpr uint32_t each = 1'000'000;
    uint32_t descriptor = open("A");
    const auto write = [descriptor] {
        for (uint32_t i = 0; i < each; ++i) {
            trace_kbuf_write_ints5(descriptor, header(1), 1, i, 0, 0, 0, 0);
        }
    };
    std::thread other(write);
    write();
    other.join();
    EXPECT_EQ(live("A")->written, 2 * each);
    trace_kbuf_free(&descriptor);
}

TEST_F(Operations, ALiveBufferNeverShowsATornRecord) {
    uint32_t descriptor = open("A", 1024);
    std::atomic<bool> stop = false;
    std::vector<std::thread> writers;
    for (uint32_t t = 0; t < 2; ++t) {
        writers.emplace_back([&, t] {
            for (uint32_t i = 0; !stop; ++i) {
                write_numbered(descriptor, i * 2 + t);
            }
        });
    }
    size_t seen = 0;
    uint64_t written = 0;
    for (int i = 0; i < 500 || seen < 5000 || written < 50'000; ++i) {
        const Snapshot snapshot = live("A");
        written = snapshot->written;
        ASSERT_EQ(snapshot->status, TRACE_KBUF_WHOLE) << snapshot->problem;
        seen += snapshot->record_count;
        for (size_t r = 0; r < snapshot->record_count; ++r) {
            ASSERT_TRUE(is_numbered(snapshot->records[r]));
        }
        ASSERT_EQ(snapshot->written, snapshot->record_count + snapshot->overwritten + snapshot->incomplete);
    }
    stop = true;
    for (std::thread &writer : writers) {
        writer.join();
    }
    trace_kbuf_free(&descriptor);
}

TEST_F(Operations, FreeingUnderAWriterHarmsNobody) {
    std::atomic<uint32_t> descriptor = 0;
    std::atomic<bool> stop = false;
    std::thread writer([&] {
        while (!stop) {
            write_numbered(descriptor, 1);
        }
    });
    for (uint32_t i = 0; i < 2000; ++i) {
        uint32_t opened = open("A", 128u << (i % 8));
        descriptor = opened;
        ASSERT_EQ(trace_kbuf_free(&opened), 0);
    }
    stop = true;
    writer.join();
    uint32_t other = open("B");
    EXPECT_EQ(write_numbered(other, 1), 0);
    trace_kbuf_free(&other);
}

TEST_F(Operations, AChildWritesIntoItsParentsBuffer) {
    uint32_t descriptor = open("A");
    write_numbered(descriptor, 1);
    const Child child = run_child([&] { return write_numbered(descriptor, 2) == 0 ? 0 : 1; });
    EXPECT_EQ(child.status, 0);
    write_numbered(descriptor, 3);
    const Snapshot snapshot = live("A");
    ASSERT_EQ(snapshot->record_count, 3u);
    EXPECT_EQ(snapshot->records[1].identifier, 2u);
    EXPECT_NE(snapshot->records[1].writer, static_cast<uint32_t>(getpid()));
    EXPECT_EQ(snapshot->records[2].writer, static_cast<uint32_t>(getpid()));
    // What the child frees is its own view only.
    EXPECT_EQ(run_child([&] { return trace_kbuf_free(&descriptor) == 0 ? 0 : 1; }).status, 0);
    EXPECT_EQ(live("A")->record_count, 3u);
    trace_kbuf_free(&descriptor);
}

uint64_t now_ns() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(now.tv_nsec);
}

TEST_F(Operations, StampsTellTheTime) {
    constexpr uint64_t tolerance = 2'000'000;
    uint32_t descriptor = open("A");
    std::vector<uint64_t> before;
    std::vector<uint64_t> after;
    for (uint32_t i = 0; i < 10; ++i) {
        before.push_back(now_ns());
        write_numbered(descriptor, i);
        after.push_back(now_ns());
        usleep(20'000);
    }
    const Snapshot snapshot = live("A");
    ASSERT_EQ(snapshot->record_count, 10u);
    EXPECT_GT(snapshot->ticks_per_second, 1e6);
    for (uint32_t i = 0; i < 10; ++i) {
        const trace_kbuf_record &record = snapshot->records[i];
        EXPECT_GE(record.time_ns + tolerance, before[i]);
        EXPECT_LE(record.time_ns, after[i] + tolerance);
        if (i > 0) {
            const trace_kbuf_record &previous = snapshot->records[i - 1];
            EXPECT_GT(record.ticks, previous.ticks);
            EXPECT_GT(record.time_ns, previous.time_ns);
            const double elapsed =
                static_cast<double>(record.ticks - previous.ticks) * 1e9 / snapshot->ticks_per_second;
            EXPECT_NEAR(elapsed, static_cast<double>(record.time_ns - previous.time_ns), 1e5);
        }
    }
    trace_kbuf_free(&descriptor);
}

} // namespace
