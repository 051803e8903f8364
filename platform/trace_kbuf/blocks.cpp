// SPDX-License-Identifier: Apache-2.0
#include "blocks.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <linux/fs.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/statfs.h>

namespace trace_kbuf {

namespace {

// Whether the file system writes a page to another place than it had. Then reserved blocks promise nothing: on a full
// disk a store ends the process. btrfs does not when it is asked not to copy this file, but then each page takes it
// half a second.
bool copies_on_write(int file) {
    constexpr uint32_t kBcachefs = 0xca451a4e;
    constexpr uint32_t kZfs = 0x2fc12fc1;
    struct statfs status {};
    if (fstatfs(file, &status) != 0) {
        return false;
    }
    switch (static_cast<uint32_t>(status.f_type)) {
    case BTRFS_SUPER_MAGIC:
    case NILFS_SUPER_MAGIC:
    case kBcachefs:
    case kZfs:
        return true;
    default:
        break;
    }
    // One that lies over another, as in a container, passes the question on: who can be asked not to copy, copies.
    int flags = 0;
    if (status.f_type != OVERLAYFS_SUPER_MAGIC || ioctl(file, FS_IOC_GETFLAGS, &flags) != 0) {
        return false;
    }
    int wanted = flags | FS_NOCOW_FL;
    return ioctl(file, FS_IOC_SETFLAGS, &wanted) == 0;
}

} // namespace

const char *reserve_blocks(int file, size_t bytes) {
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur < bytes) {
        return strerrordesc_np(EFBIG); // asked first: going past the limit would raise SIGXFSZ
    }
    if (copies_on_write(file)) {
        return "its file system copies on write, so that a full disk would end this process; choose a TRACE_KBUF_DIR in "
               "a tmpfs, such as /run or /dev/shm";
    }
    const int result = posix_fallocate(file, 0, static_cast<off_t>(bytes));
    return result == 0 ? nullptr : strerrordesc_np(result);
}

} // namespace trace_kbuf
