// SPDX-License-Identifier: Apache-2.0
#include "kslctl/hub/changes.h"

#include <algorithm>
#include <fmt/core.h>

namespace kslctl::hub {

namespace {

std::vector<ChangedRegister> change_port(uint32_t chip, uint32_t port, const Change &change, bool dry_run,
                                         Failures &failures) {
    std::vector<ChangedRegister> rows;
    for (const Change::Write &write : change.writes) {
        rows.push_back({write.which, port, read(*write.which, chip, port, failures), std::nullopt, {}});
    }
    const std::string about = fmt::format(fmt::runtime(change.about), port);
    const auto unread =
        std::find_if(rows.begin(), rows.end(), [](const ChangedRegister &row) { return !row.before.is_read(); });
    if (unread != rows.end()) {
        const Failure &failure = note(failures, {.chip = chip,
                                                 .about = about,
                                                 .code = unread->before.failure()->code,
                                                 .undone = change.undone,
                                                 .reason = "what it would change could not be read first"});
        for (ChangedRegister &row : rows) {
            row.after = failure;
        }
        return rows;
    }
    for (size_t i = 0; i < rows.size(); ++i) {
        rows[i].write = change.writes[i].value(*rows[i].before);
        rows[i].after = *rows[i].write;
    }
    if (dry_run) {
        return rows;
    }
    if (const int32_t code = change.run(chip, port, *rows[0].before); code != 0) {
        note(failures, {chip, change.operation, about, code, change.undone, change.refusal, {}});
    }
    // After a failure, too: it may have come between the writes.
    for (ChangedRegister &row : rows) {
        row.after = read(*row.which, chip, port, failures);
    }
    return rows;
}

} // namespace

Changes change_ports(uint32_t chip, std::span<const uint32_t> ports, const Change &change, bool dry_run,
                     Failures &failures) {
    Changes changes{dry_run, {}};
    for (const uint32_t port : ports) {
        const std::vector<ChangedRegister> rows = change_port(chip, port, change, dry_run, failures);
        changes.registers.insert(changes.registers.end(), rows.begin(), rows.end());
    }
    return changes;
}

Changes change_chip(uint32_t chip, const Change &change, bool dry_run, Failures &failures) {
    constexpr uint32_t kChip[] = {0};
    return change_ports(chip, kChip, change, dry_run, failures);
}

} // namespace kslctl::hub
