// SPDX-License-Identifier: Apache-2.0
// One call of an exported function by a fuzzer: its arguments come from the fuzzer's bytes, its outputs are looked at.
#pragma once

#include "input.h"
#include "outputs.h"
#include "platform.h"
#include "require.h"

#include <deque>

namespace fuzz {

class Call {
public:
    explicit Call(Platform &called) : platform(called), input(called.input), chip(called.input.word()) {}

    Output &output(size_t size) { return outputs_.emplace_back(size); }

    template <class Type = uint8_t>
    Type *memory(size_t count = 1) {
        return output(sizeof(Type) * count).template get<Type>();
    }

    // The same, or a null pointer, which the operation refuses.
    template <class Type = uint8_t>
    Type *memory_or_null(size_t count = 1) {
        if (refuse(input.byte() == 0xFF)) {
            return nullptr;
        }
        return memory<Type>(count);
    }

    bool refuse(bool condition) {
        refused_ = refused_ || condition;
        return condition;
    }

    // Any number, mostly near the ports' own.
    uint32_t any_port() {
        const uint32_t port = input.up_to(30);
        return port == 30 ? input.word() : port;
    }

    uint32_t port() {
        const uint32_t number = any_port();
        refuse(number >= KSL_PORTS);
        return number;
    }

    // An access to a register of any place and length, with a buffer of just that length.
    template <class Access>
    int32_t access(Access make) {
        const uint32_t page = input.word();
        const uint32_t offset = input.word();
        const uint32_t length = input.up_to(20);
        return make(chip, page, offset, length, memory(length));
    }

    bool refused() const { return refused_; }
    const std::deque<Output> &outputs() const { return outputs_; }

    Platform &platform;
    Input &input;
    uint32_t chip;

private:
    std::deque<Output> outputs_; // which stay where they are
    bool refused_ = false;
};

// What the result of an operation has to be.
enum class Result {
    first_failure, // 0, or the first failing access's, after which there is no other
    last_access,   // that of the last access
    own,           // checked by the operation's own rules
};

// What becomes of the outputs when the result is not 0.
enum class Outputs { untouched, partly_written };

// How a fuzzer calls an operation, and the rules that hold for it.
struct Operation {
    int32_t (*run)(Call &call) = nullptr;
    Result result = Result::first_failure;
    Outputs outputs = Outputs::untouched;
};

} // namespace fuzz
