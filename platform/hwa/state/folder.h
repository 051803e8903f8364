// SPDX-License-Identifier: Apache-2.0
// The user's folder of the state, and files in it.
#pragma once

#include <string>

namespace hwa {

// An open file descriptor.
class File {
public:
    File() = default;
    explicit File(int descriptor) : descriptor_(descriptor) {}
    File(const File &) = delete;
    File &operator=(const File &) = delete;
    File(File &&other) noexcept : descriptor_(other.release()) {}
    File &operator=(File &&other) noexcept;
    ~File() { reset(); }

    explicit operator bool() const { return descriptor_ >= 0; }
    int get() const { return descriptor_; }
    int release();
    void reset();

private:
    int descriptor_ = -1;
};

// The folder that the environment names: HWA_SIM_DIR, else a folder in XDG_RUNTIME_DIR, else one in /tmp.
std::string state_folder();

// Opens a file of a folder for reading and writing, and makes both when they are not there. Throws Unusable
// when either is a link, or another user owns it or may write it.
File open_private(const std::string &folder, const char *name);

} // namespace hwa
