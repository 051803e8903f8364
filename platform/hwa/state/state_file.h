// SPDX-License-Identifier: Apache-2.0
// The hub's state in a mapped file that all processes of a user share.
#pragma once

#include "scenario/scenario.h"
#include "state/folder.h"
#include "state/image.h"

namespace hwa {

// The state survives a process that is killed in the middle of a change. Each byte's old value is noted before the
// byte is overwritten, and the notes are dropped when the change is complete. The next process that finds notes puts
// the old values back. The reset of a chip is too long for notes: it is marked, and done again. A file that was not
// built to the end has no magic and is built anew. A state that is damaged is left as it is. Counts and marks are
// single bytes, so none is ever half-written.
struct UndoNote {
    std::array<uint8_t, 4> position; // in HubImage
    uint8_t old_value;
};

inline constexpr size_t kMaxNotes = 255;

struct HubImage {
    std::array<uint8_t, 8> magic; // written last
    std::array<uint8_t, 4> layout;
    std::array<uint8_t, 8> scenario;
    uint8_t resetting; // place of the chip whose reset is under way, counted from 1
    uint8_t note_count;
    std::array<UndoNote, kMaxNotes> notes;
    std::array<ChipImage, kMaxChips> chips;
};

static_assert(alignof(HubImage) == 1);

inline constexpr std::array<uint8_t, 8> kMagic{'H', 'W', 'A', '-', 'S', 'I', 'M', '\n'};
inline constexpr uint64_t kLayout = 4;

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

    // The chip of a number in the locked state; null if the hub has none. Throws Unusable.
    const ChipImage *chip(uint32_t number) const;

    // Changes of the locked state: bytes of it one by one, which count when they are committed, or a whole chip.
    void store(const uint8_t &place, uint8_t value);
    void commit();
    void roll_back();
    void reset_chip(size_t index);

private:
    void open();
    bool is_ours() const;
    void repair(bool whole);
    void build();
    [[noreturn]] void refuse_damage(const std::string &part) const;

    std::string folder_;
    const Scenario &scenario_;
    platform::Descriptor file_;
    HubImage *image_ = nullptr;
    bool settled_ = false; // the state was ours once; another scenario since then is an error
};

} // namespace hwa
