// SPDX-License-Identifier: Apache-2.0
// The hub's state in a mapped file that all processes of a user share.
#pragma once

#include "folder.h"
#include "image.h"
#include "scenario.h"

namespace hwa {

// How the state survives a process that is killed in the middle of a change: each byte's old value is noted
// before it is overwritten, and the notes are dropped when the change is complete. Whoever comes next and
// finds notes puts the old values back. A chip's reset, too long for notes, is marked and done again instead,
// and a file whose building was not finished has no magic and is built anew. Counts and marks are single
// bytes, so none of them can be half-written.
struct UndoNote {
    std::array<Byte, 4> position; // in HubImage
    Byte old_value;
};

inline constexpr std::size_t kMaxNotes = 255;

struct HubImage {
    std::array<Byte, 8> magic; // written last
    std::array<Byte, 4> layout;
    std::array<Byte, 8> scenario;
    Byte resetting; // place of the chip whose reset is under way, counted from 1
    Byte note_count;
    std::array<UndoNote, kMaxNotes> notes;
    std::array<ChipImage, kMaxChips> chips;
};

static_assert(alignof(HubImage) == 1);

inline constexpr std::array<Byte, 8> kMagic{'H', 'W', 'A', '-', 'S', 'I', 'M', '\n'};
inline constexpr std::uint64_t kLayout = 4;

class StateFile {
public:
    static constexpr const char *kName = "hub.state";

    StateFile(std::string folder, const Scenario &scenario);
    StateFile(const StateFile &) = delete;
    StateFile &operator=(const StateFile &) = delete;
    ~StateFile();

    std::string path() const { return folder_ + "/" + kName; }

    // Opens the file if need be, waits until no other process uses it and repairs what a killed one left.
    // Throws Unusable.
    HubImage &lock();
    void unlock();

    // Gives the file up; the next lock() opens it again. A forked child must do so, as it shares its parent's lock.
    void close();

    // Changes of the locked state: bytes of it one by one, which count when they are committed, or a whole chip.
    void store(const Byte &place, Byte value);
    void commit();
    void roll_back();
    void reset_chip(std::size_t index);

private:
    void open();
    bool is_ours() const;
    void repair(bool whole);
    void build();

    std::string folder_;
    const Scenario &scenario_;
    File file_;
    HubImage *image_ = nullptr;
    bool settled_ = false; // the state was ours once, so nobody may change its scenario under our feet
};

} // namespace hwa
