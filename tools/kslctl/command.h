// SPDX-License-Identifier: Apache-2.0
// What a command is, and which there are.
#pragma once

#include "kslctl/library.h"
#include "kslctl/numbers.h"
#include "kslctl/options.h"
#include "kslctl/report.h"
#include "kslctl/table.h"

#include <functional>
#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

namespace kslctl {

// What a command found out, in both forms.
struct Result {
    Json chips = Json::array();
    std::string text;
    bool answer_is_no = false; // of a command that asks a question
    bool is_shown = false;     // the command has shown all it had already
};

// What a command has to work with.
struct Context {
    const Options &options;
    const Library &library;
    const Style &style;
    Report &report;
    bool can_redraw; // the text goes to a terminal whose cursor can be moved
    // For a command that shows one result after the other: writes one out. False when there is no use in another.
    const std::function<bool(const Result &)> &show;
};

// The same of one chip.
struct ChipResult {
    Json json = Json::object(); // without the chip's number
    std::string text;           // without the chip's heading
    bool answer_is_no = false;
};

// Each chip of the command line in turn, a paragraph for each; `remark` stands behind the chips' headings.
Result of_each_chip(Context &context, const std::function<ChipResult(uint32_t chip)> &look,
                    const std::string &remark = {});

// The remark of a dry run.
inline constexpr char kDryRunRemark[] = ": what would be written (nothing was)";

using Run = std::function<Result(Context &)>;

// Options that do not go together, as one sentence.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Looks at the whole command line before the hub is touched, and may settle options. Throws UsageError.
using Check = std::function<void(Options &)>;

// For commands to which --raw means nothing.
void check_no_raw(const Options &options);

// The commands of the command line; the one that the user names becomes the chosen one.
class Commands {
public:
    // Commands whose first word is the same: "port show" and "port speed" are of the group "port".
    class Group {
    public:
        CLI::App &add(const char *name, const char *summary, const std::string &help, Run run, Check check = {});

    private:
        friend class Commands;
        Group(Commands &commands, CLI::App &app) : commands_(commands), app_(app) {}

        Commands &commands_;
        CLI::App &app_;
    };

    explicit Commands(CLI::App &app) : app_(app) {}

    // The result takes the arguments that the command has of its own.
    CLI::App &add(const char *name, const char *summary, const std::string &help, Run run, Check check = {});
    Group add_group(const char *name, const char *summary);

    // As the schema has it: "status", "port-show".
    const std::string &name() const { return name_; }
    void check(Options &options) const;
    Result run(Context &context) const { return run_(context); }

private:
    CLI::App &add_to(CLI::App &parent, const std::string &full_name, const char *name, const char *summary,
                     const std::string &help, Run run, Check check);

    CLI::App &app_;
    std::string name_;
    Run run_;
    Check check_;
};

// One for each family of operations.
void add_status_commands(Commands &commands);
void add_port_commands(Commands &commands);
void add_vlan_commands(Commands &commands);
void add_validate_commands(Commands &commands);
void add_mib_commands(Commands &commands);
void add_arl_commands(Commands &commands);
void add_forwarding_commands(Commands &commands);
void add_hub_commands(Commands &commands);
void add_chip_commands(Commands &commands);
void add_reg_commands(Commands &commands);

} // namespace kslctl
