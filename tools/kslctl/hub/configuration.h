// SPDX-License-Identifier: Apache-2.0
// An expected configuration, handed out by a configuration library.
#pragma once

#include <ksl/ksl.h>
#include <stdexcept>
#include <string>

namespace kslctl::hub {

// Nothing can be compared with it; the text is the reason as one sentence.
struct NoConfiguration : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Opens the library; closes it in the end.
class Configuration {
public:
    // Throws NoConfiguration.
    explicit Configuration(std::string library);
    ~Configuration();
    Configuration(const Configuration &) = delete;
    Configuration &operator=(const Configuration &) = delete;

    // What the validations are to be given.
    const std::string &library() const { return library_; }
    const ksl_cfg_record *records() const { return records_; }

private:
    std::string library_;
    void *handle_ = nullptr;
    const ksl_cfg_record *records_ = nullptr;
};

// The configuration library that reads the JSON file, which is looked at first. Throws NoConfiguration.
std::string library_for_file(const std::string &file);

} // namespace kslctl::hub
