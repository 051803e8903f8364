// SPDX-License-Identifier: Apache-2.0
// From text to values with lines.
#include "json_node.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

namespace kslcfg {
namespace {

// Far more than the documents need: a limit for those that are made to exhaust the reader.
constexpr std::size_t kDeepest = 16;
constexpr std::size_t kMostKeys = 64;

// Where the parser is. It has read a character beyond a number and none beyond any other value.
class Progress {
public:
    explicit Progress(std::string_view text) : next_(text.data()) {}

    char character() const { return *next_; }
    bool at(const char *place) const { return next_ == place; }

    void advance() {
        line_ = line_after_;
        line_after_ += *next_++ == '\n' ? 1 : 0;
    }

    // The line of the character read last.
    unsigned line() const { return line_; }

private:
    const char *next_;
    unsigned line_ = 1;
    unsigned line_after_ = 1;
};

// Shows the parser the text through the progress, which all its copies share.
class Reader {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char *;
    using reference = char;

    Reader(Progress &progress, const char *end) : progress_(&progress), end_(end) {}

    char operator*() const { return progress_->character(); }
    Reader &operator++() {
        progress_->advance();
        return *this;
    }
    // The parser compares with the end only.
    bool operator==(const Reader &other) const { return progress_->at(other.end_); }

private:
    Progress *progress_;
    const char *end_;
};

[[noreturn]] void refuse(unsigned line, const std::string &reason) {
    throw Unusable("line " + std::to_string(line) + ": " + reason);
}

// Receives what the parser finds.
class Builder {
public:
    explicit Builder(const Progress &progress) : progress_(progress) {}

    JsonValue take() { return std::move(root_); }

    bool null() { return add(JsonOther{}); }
    bool boolean(bool value) { return add(value); }
    bool number_integer(std::int64_t) { return add(JsonOther{}); }
    bool number_unsigned(std::uint64_t value) { return add(value); }
    bool number_float(double, const std::string &) { return add(JsonOther{}); }
    bool string(std::string &value) { return add(std::move(value)); }
    bool binary(const nlohmann::json::binary_t &) { return add(JsonOther{}); }
    bool start_object(std::size_t) { return open(JsonObject()); }
    bool start_array(std::size_t) { return open(JsonList()); }
    bool end_object() { return close(); }
    bool end_array() { return close(); }

    bool key(std::string &key) {
        auto &members = std::get<JsonObject>(open_.back()->content);
        // The one that stands second would silently hide the first, or be hidden.
        if (std::any_of(members.begin(), members.end(), [&](const JsonMember &member) { return member.key == key; }))
            refuse(progress_.line(), "the key " + in_quotes(key) + " stands twice in one object");
        if (members.size() == kMostKeys)
            refuse(progress_.line(), "an object has more than " + std::to_string(kMostKeys) + " keys");
        members.push_back({std::move(key), progress_.line(), {}});
        return true;
    }

    bool parse_error(std::size_t, const std::string &, const nlohmann::json::exception &error) {
        // "[exception] parse error at line 1, column 2: what is wrong", or "[exception] what is wrong".
        std::string words = error.what();
        words.erase(0, words.find(']') + 2);
        if (words.starts_with("parse error at "))
            words.erase(0, words.find(": ") + 2);
        refuse(progress_.line(), "not valid JSON: " + printable(std::move(words)));
    }

private:
    template <typename Content>
    bool add(Content content) {
        place(std::move(content));
        return true;
    }

    template <typename Content>
    bool open(Content content) {
        if (open_.size() == kDeepest)
            refuse(progress_.line(), "lists and objects stand more than " + std::to_string(kDeepest) + " deep");
        open_.push_back(place(std::move(content)));
        return true;
    }

    bool close() {
        open_.pop_back();
        return true;
    }

    // An open value stays where it is: what it stands in grows only after it was closed.
    template <typename Content>
    JsonValue *place(Content content) {
        JsonValue *value = &root_;
        if (!open_.empty()) {
            if (auto *const list = std::get_if<JsonList>(&open_.back()->content))
                value = &list->emplace_back();
            else
                value = &std::get<JsonObject>(open_.back()->content).back().value;
        }
        value->line = progress_.line();
        value->content = std::move(content);
        return value;
    }

    const Progress &progress_;
    JsonValue root_;
    std::vector<JsonValue *> open_;
};

} // namespace

JsonValue parse_json(std::string_view text) {
    Progress progress(text);
    const char *const end = text.data() + text.size();
    Builder builder(progress);
    nlohmann::json::sax_parse(Reader(progress, end), Reader(progress, end), &builder);
    return builder.take();
}

} // namespace kslcfg
