// SPDX-License-Identifier: Apache-2.0
// From text to values with places.
#include "json/value.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

namespace json {
namespace {

constexpr size_t kMostWords = 200;

// Follows the parser through the text. The parser names no places: it has read a character beyond a number, and none
// beyond any other value. So this keeps where the last word began, that is a string, number, true, false or null.
class Progress {
public:
    explicit Progress(std::string_view text) : next_(text.data()), end_(text.data() + text.size()) {}

    char character() const { return *next_; }
    bool at_end() const { return next_ == end_; }

    void advance() {
        const char character = *next_++;
        read_ = following_;
        if (character == '\n') {
            ++following_.line;
            following_.column = 1;
        } else if (next_ == end_ || (static_cast<unsigned char>(*next_) & 0xC0) != 0x80) {
            ++following_.column;
        }
        follow_word(character);
    }

    void meet_end() { read_ = following_; }

    // The place of the character that was read last, or after all of them.
    const Place &read() const { return read_; }
    const Place &word() const { return word_; }

private:
    enum class Within { nothing, word, string, escape };

    void follow_word(char character) {
        switch (within_) {
        case Within::escape:
            within_ = Within::string;
            return;
        case Within::string:
            within_ = character == '\\' ? Within::escape : character == '"' ? Within::nothing : Within::string;
            return;
        case Within::nothing:
        case Within::word:
            break;
        }
        constexpr std::string_view kBetweenWords = " \t\r\n,:[]{}";
        if (kBetweenWords.find(character) != std::string_view::npos) {
            within_ = Within::nothing;
            return;
        }
        if (within_ == Within::nothing) {
            word_ = read_;
        }
        within_ = character == '"' ? Within::string : Within::word;
    }

    const char *next_;
    const char *end_;
    Place read_;
    Place following_;
    Place word_;
    Within within_ = Within::nothing;
};

// Shows the parser the text through the progress, which all its copies share.
class Reader {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = ptrdiff_t;
    using pointer = const char *;
    using reference = char;

    explicit Reader(Progress &progress) : progress_(&progress) {}

    char operator*() const { return progress_->character(); }
    Reader &operator++() {
        progress_->advance();
        return *this;
    }
    // The parser compares with the end only, and before each character.
    bool operator==(const Reader &) const {
        if (progress_->at_end()) {
            progress_->meet_end();
        }
        return progress_->at_end();
    }

private:
    Progress *progress_;
};

// Receives what the parser finds.
class Builder {
public:
    explicit Builder(const Progress &progress) : progress_(progress) {}

    Value take() { return std::move(root_); }

    bool null() { return add(Other{}); }
    bool boolean(bool value) { return add(value); }
    bool number_integer(int64_t) { return add(Other{}); }
    bool number_unsigned(uint64_t value) { return add(value); }
    bool number_float(double, const std::string &) { return add(Other{}); }
    bool string(std::string &value) { return add(std::move(value)); }
    bool binary(const nlohmann::json::binary_t &) { return add(Other{}); }
    bool start_object(size_t) { return open(Object()); }
    bool start_array(size_t) { return open(List()); }
    bool end_object() { return close(); }
    bool end_array() { return close(); }

    bool key(std::string &key) {
        auto &members = std::get<Object>(open_.back()->content);
        const Place &place = progress_.word();
        // One of the two values would silently be lost.
        if (std::any_of(members.begin(), members.end(), [&](const Member &member) { return member.key == key; })) {
            refuse(place, "the key " + in_quotes(key) + " is twice in one object");
        }
        if (members.size() == kMostKeys) {
            refuse(place, "an object has more than " + std::to_string(kMostKeys) + " keys");
        }
        members.push_back({std::move(key), place, {}});
        return true;
    }

    bool parse_error(size_t, const std::string &, const nlohmann::json::exception &error) {
        // "[exception] parse error at line 1, column 2: what is wrong", or "[exception] what is wrong".
        std::string_view words = error.what();
        words.remove_prefix(words.find(']') + 2);
        const bool has_place = words.starts_with("parse error at ");
        if (has_place) {
            words.remove_prefix(words.find(": ") + 2);
        }
        // Without a place it is about a number, of which the parser has read all.
        refuse(has_place ? progress_.read() : progress_.word(), "not valid JSON: " + shortened(words, kMostWords));
    }

private:
    template <typename Content>
    bool add(Content content) {
        place(std::move(content), progress_.word());
        return true;
    }

    template <typename Content>
    bool open(Content content) {
        if (open_.size() == kDeepest) {
            refuse(progress_.read(), "lists and objects are nested more than " + std::to_string(kDeepest) + " deep");
        }
        open_.push_back(place(std::move(content), progress_.read()));
        return true;
    }

    bool close() {
        open_.pop_back();
        return true;
    }

    // An open value does not move: the list or object that holds it grows only after it was closed.
    template <typename Content>
    Value *place(Content content, const Place &begin) {
        Value *value = &root_;
        if (!open_.empty()) {
            if (auto *const list = std::get_if<List>(&open_.back()->content)) {
                value = &list->emplace_back();
            } else {
                value = &std::get<Object>(open_.back()->content).back().value;
            }
        }
        value->place = begin;
        value->content = std::move(content);
        return value;
    }

    const Progress &progress_;
    Value root_;
    std::vector<Value *> open_;
};

} // namespace

void refuse(const Place &place, const std::string &reason) {
    throw Unusable("line " + std::to_string(place.line) + ", column " + std::to_string(place.column) + ": " + reason);
}

Value parse(std::string_view text) {
    Progress progress(text);
    if (text.size() > kLongestText) {
        refuse({}, "the document is longer than 4 MiB, the most that is read");
    }
    Builder builder(progress);
    nlohmann::json::sax_parse(Reader(progress), Reader(progress), &builder);
    // The parser takes a NUL byte for the end.
    if (!progress.at_end() || text.ends_with('\0')) {
        refuse(progress.read(), "not valid JSON: a NUL byte follows the document");
    }
    return builder.take();
}

} // namespace json
