// SPDX-License-Identifier: Apache-2.0
#include "kslctl/change.h"

#include "kslctl/raw.h"

#include <fmt/core.h>

namespace kslctl {

namespace {

struct Row {
    uint32_t port;
    const PortRegister *which;
    std::optional<Bytes> before;
    std::optional<Bytes> write; // none when nothing is to be written
    std::optional<Bytes> after;
};

std::string text_of(const Row &row, const std::optional<Bytes> &bytes, bool raw) {
    return raw || !bytes ? hex_or_mark(bytes, row.which->length) : row.which->text(*bytes);
}

Json json_of(const Row &row, const std::optional<Bytes> &bytes, bool raw) {
    return raw || !bytes ? hex_or_null(bytes, row.which->length) : row.which->json(*bytes);
}

class Changer {
public:
    Changer(Context &context, const Change &change, bool dry_run)
        : context_(context), change_(change), dry_run_(dry_run) {}

    ChipResult of_chip(uint32_t chip, const NumberSet &ports) {
        rows_.clear();
        for (const uint32_t port : ports) {
            change_port(chip, port);
        }
        return {json(), text(), false};
    }

private:
    void change_port(uint32_t chip, uint32_t port) {
        const size_t first = rows_.size();
        const std::string what = fmt::format(fmt::runtime(change_.what), port);
        bool known = true;
        for (const Change::Written &written : change_.registers) {
            const std::optional<Bytes> before = read(*written.which, chip, port, context_.report);
            known = known && before;
            rows_.push_back({port, written.which, before, std::nullopt, std::nullopt});
        }
        if (!known) {
            context_.report.fail(
                chip, fmt::format("{} {}: what it would change could not be read first", what, change_.undone));
            return;
        }
        for (size_t i = 0; i < change_.registers.size(); ++i) {
            Row &row = rows_[first + i];
            row.write = change_.registers[i].value(*row.before);
        }
        if (dry_run_) {
            for (size_t i = first; i < rows_.size(); ++i) {
                rows_[i].after = rows_[i].write;
            }
            return;
        }
        if (const int32_t code = change_.run(chip, port, *rows_[first].before); code != 0) {
            context_.report.fail({chip, change_.operation, what, code, change_.undone, change_.refusal});
        }
        // After a failure, too: it may have come between the writes.
        for (size_t i = first; i < rows_.size(); ++i) {
            rows_[i].after = read(*rows_[i].which, chip, port, context_.report);
        }
    }

    Json json() const {
        const bool raw = context_.options.raw;
        Json list = Json::array();
        for (const Row &row : rows_) {
            Json entry = row.which->is_of_chip() ? Json::object() : Json{{"port", row.port}};
            entry["register"] = row.which->key;
            entry["page"] = row.which->page(row.port);
            entry["offset"] = row.which->offset(row.port);
            entry["before"] = json_of(row, row.before, raw);
            entry["after"] = json_of(row, row.after, raw);
            if (dry_run_) {
                entry["write"] = hex_or_null(row.write, row.which->length);
            }
            list.push_back(entry);
        }
        return {{"dry_run", dry_run_}, {"changes", list}};
    }

    std::string text() const {
        const bool of_chip = change_.registers.front().which->is_of_chip();
        std::vector<Column> columns = {{"register", Align::left}, {"from", Align::left}, {"to", Align::left}};
        if (!of_chip) {
            columns.insert(columns.begin(), {"port", Align::right});
        }
        if (dry_run_) {
            columns.push_back({"write", Align::left});
        }
        Table table(columns);
        for (const Row &row : rows_) {
            std::vector<std::string> cells = {row.which->what, text_of(row, row.before, context_.options.raw),
                                              text_of(row, row.after, context_.options.raw)};
            if (!of_chip) {
                cells.insert(cells.begin(), std::to_string(row.port));
            }
            if (dry_run_) {
                cells.push_back(row.write ? fmt::format("page 0x{:02x}, offset 0x{:02x}: {}", row.which->page(row.port),
                                                        row.which->offset(row.port), hex(*row.write, row.which->length))
                                          : std::string(kNothing));
            }
            table.add_row(cells);
        }
        return table.render(context_.style);
    }

    Context &context_;
    const Change &change_;
    const bool dry_run_;
    std::vector<Row> rows_; // of the chip at hand
};

} // namespace

Result change_ports(Context &context, const NumberSet &ports, const Change &change, bool dry_run) {
    Changer changer(context, change, dry_run);
    return of_each_chip(
        context, [&](uint32_t chip) { return changer.of_chip(chip, ports); }, dry_run ? kDryRunRemark : "");
}

Result change_chips(Context &context, const Change &change, bool dry_run) {
    return change_ports(context, {0}, change, dry_run);
}

} // namespace kslctl
