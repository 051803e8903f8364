// SPDX-License-Identifier: Apache-2.0
// The trace library as a program has it that starts now: it knows stderr as it is now, and has said nothing yet.
#pragma once

#include "trace_files.h"

#include <dlfcn.h>
#include <stdexcept>

namespace trace_files {

class FreshLibrary {
public:
    // From a copy, since one file is loaded once only.
    FreshLibrary() {
        Dl_info loaded{};
        dladdr(reinterpret_cast<const void *>(&trace_kbuf_free), &loaded);
        std::string folder = (std::filesystem::temp_directory_path() / "trace_kbuf_library.XXXXXX").string();
        if (mkdtemp(folder.data()) == nullptr) {
            throw std::runtime_error("no folder for a copy of the library");
        }
        const std::string copy = folder + "/libtrace_kbuf.so";
        std::filesystem::copy_file(loaded.dli_fname, copy);
        library_ = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
        std::filesystem::remove_all(folder);
        if (library_ == nullptr) {
            throw std::runtime_error(dlerror());
        }
    }

    uint32_t open(const char *name, uint32_t size) const {
        uint32_t descriptor = 0;
        function<decltype(trace_kbuf_init_buffer)>("trace_kbuf_init_buffer")(&descriptor, name, size);
        return descriptor;
    }
    int write(uint32_t descriptor, uint32_t number) const {
        return function<decltype(trace_kbuf_write_ints5)>("trace_kbuf_write_ints5")(descriptor, header(1), 1, number, 0,
                                                                                    0, 0, 0);
    }
    int free(uint32_t descriptor) const { return function<decltype(trace_kbuf_free)>("trace_kbuf_free")(&descriptor); }
    Snapshot live(const char *name) const {
        const auto copy = function<decltype(trace_kbuf_copy)>("trace_kbuf_copy");
        Bytes bytes(copy(name, nullptr, 0));
        copy(name, bytes.data(), bytes.size());
        return of_bytes(bytes);
    }

private:
    template <class Function>
    Function *function(const char *name) const {
        return reinterpret_cast<Function *>(dlsym(library_, name));
    }

    void *library_;
};

} // namespace trace_files
