// SPDX-License-Identifier: Apache-2.0
// The one place through which the tools write to stdout.
#pragma once

#include <string>
#include <string_view>

namespace tools {

class StandardOutput {
public:
    // `program` begins the sentence about a failed write.
    explicit StandardOutput(std::string program);

    // When it returns, the text has reached the file, or the failure has been reported on stderr. A reader who
    // went away (`| head`) is no failure; nothing more is written then.
    void write(std::string_view text);

    bool failed() const { return failed_; }
    // Nothing more can be written.
    bool is_over() const { return given_up_; }
    bool is_terminal() const;
    // On a terminal whose cursor can be moved.
    bool can_redraw() const;
    // On a terminal that knows colours, unless the user said NO_COLOR.
    bool wants_emphasis() const;

private:
    std::string program_;
    bool failed_ = false;
    bool given_up_ = false;
};

// One line "program: sentence" on stderr.
void complain(std::string_view program, std::string_view sentence);

} // namespace tools
