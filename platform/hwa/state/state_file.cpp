// SPDX-License-Identifier: Apache-2.0
#include "state/state_file.h"

#include "chip/reset.h"
#include "problem.h"
#include "state/damage.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <new>
#include <stdexcept>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace hwa {
namespace {

// Stores before this call reach the file before stores after it. A process is killed between two instructions, so
// only the compiler must be kept from changing the order.
void in_order() {
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

int allocate(int file) {
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur < sizeof(HubImage)) {
        return EFBIG; // asked first: going past the limit would raise SIGXFSZ
    }
    int error = 0;
    do {
        error = posix_fallocate(file, 0, sizeof(HubImage));
    } while (error == EINTR);
    return error;
}

} // namespace

StateFile::StateFile(std::string folder, const Scenario &scenario) : folder_(std::move(folder)), scenario_(scenario) {}

StateFile::~StateFile() {
    close();
}

void StateFile::close() {
    if (image_ != nullptr) {
        munmap(image_, sizeof(HubImage));
    }
    image_ = nullptr;
    file_ = {};
}

void StateFile::open() {
    file_ = open_private(folder_, kName);
    void *const memory = mmap(nullptr, sizeof(HubImage), PROT_READ | PROT_WRITE, MAP_SHARED, file_, 0);
    if (memory == MAP_FAILED) {
        if (errno == ENOMEM) {
            throw std::bad_alloc();
        }
        throw Unusable("the state " + path() + " cannot be mapped (" + system_error(errno) +
                       "); set HWA_SIM_DIR to a folder on another file system");
    }
    image_ = static_cast<HubImage *>(memory);
}

bool StateFile::is_ours() const {
    return image_->layout == to_bytes<4>(kLayout) && image_->scenario == to_bytes<8>(scenario_.digest);
}

HubImage &StateFile::lock() {
    struct stat status {};
    while (true) {
        if (image_ == nullptr) {
            open();
        }
        while (flock(file_, LOCK_EX) != 0) {
            if (errno != EINTR) {
                throw Unusable("the state " + path() + " cannot be locked (" + system_error(errno) + ")");
            }
        }
        if (fstat(file_, &status) == 0 && status.st_nlink != 0) {
            break;
        }
        // The file was deleted after it was opened: the hub starts anew.
        close();
        settled_ = false;
    }
    try {
        // Touching memory past the end of a file would kill the process.
        repair(status.st_size >= static_cast<off_t>(sizeof(HubImage)));
    } catch (...) {
        unlock();
        throw;
    }
    return *image_;
}

void StateFile::unlock() {
    flock(file_, LOCK_UN);
}

void StateFile::repair(bool whole) {
    const bool built = whole && image_->magic == kMagic;
    if (built && settled_ && !is_ours()) {
        throw Unusable("another process started the state " + path() +
                       " anew from another scenario; start this program again, or give each its own HWA_SIM_DIR");
    }
    if (whole && !built && !is_unfinished(*image_)) {
        refuse_damage("its first bytes");
    }
    if (!built || !is_ours()) {
        build();
    }
    settled_ = true;
    if (const char *const part = damaged_part(*image_, scenario_.chips.size())) {
        refuse_damage(part);
    }
    if (image_->resetting != 0) {
        reset_chip(image_->resetting - 1U);
    }
    roll_back();
}

void StateFile::build() {
    if (const int error = allocate(file_); error != 0) {
        throw Unusable("there is no room for the state " + path() + " of " +
                       std::to_string((sizeof(HubImage) + 1023) / 1024) + " KiB (" + system_error(error) +
                       "); make room, or set HWA_SIM_DIR to a folder on another file system");
    }
    image_->magic = {};
    in_order();
    image_->layout = to_bytes<4>(kLayout);
    image_->scenario = to_bytes<8>(scenario_.digest);
    image_->resetting = 0;
    image_->note_count = 0;
    for (size_t i = 0; i < kMaxChips; ++i) {
        if (i < scenario_.chips.size()) {
            image_->chips[i] = scenario_.chips[i];
        } else {
            image_->chips[i].present = 0;
        }
    }
    in_order();
    image_->magic = kMagic;
}

void StateFile::refuse_damage(const std::string &part) const {
    throw Unusable("the state " + path() + " is damaged (" + part + "); delete it, and the hub starts anew");
}

const ChipImage *StateFile::chip(uint32_t number) const {
    for (size_t i = 0; i < scenario_.chips.size(); ++i) {
        const ChipImage &start = scenario_.chips[i];
        if (start.number != number) {
            continue;
        }
        const ChipImage &chip = image_->chips[i];
        if (const char *const part = damaged_part(chip, start)) {
            refuse_damage("chip " + std::to_string(number) + ": " + part);
        }
        return &chip;
    }
    return nullptr;
}

void StateFile::store(const uint8_t &place, uint8_t value) {
    uint8_t *const bytes = reinterpret_cast<uint8_t *>(image_);
    const auto position = static_cast<size_t>(&place - bytes);
    if (image_->note_count == kMaxNotes) {
        throw std::length_error("an access changes more bytes than the hub can take back");
    }
    image_->notes[image_->note_count] = {to_bytes<4>(position), bytes[position]};
    in_order();
    ++image_->note_count;
    in_order();
    bytes[position] = value;
    in_order();
}

void StateFile::commit() {
    image_->note_count = 0;
    in_order();
}

void StateFile::roll_back() {
    for (uint8_t count = image_->note_count; count > 0; --count) {
        const UndoNote &note = image_->notes[count - 1U];
        reinterpret_cast<uint8_t *>(image_)[from_bytes(note.position)] = note.old_value;
        in_order();
        image_->note_count = static_cast<uint8_t>(count - 1);
        in_order();
    }
}

void StateFile::reset_chip(size_t index) {
    image_->resetting = static_cast<uint8_t>(index + 1);
    in_order();
    reset(image_->chips[index], scenario_.chips[index]);
    in_order();
    image_->resetting = 0;
}

} // namespace hwa
