// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>

#include <json/problem.h>
#include <string>

namespace json_test {

// What `action` throws as Unusable.
template <typename Action>
std::string problem_of(Action action) {
    try {
        action();
    } catch (const json::Unusable &problem) {
        return problem.what();
    }
    return "no problem";
}

} // namespace json_test
