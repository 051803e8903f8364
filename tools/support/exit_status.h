// SPDX-License-Identifier: Apache-2.0
// What the tools' exit statuses mean; they are an interface.
#pragma once

namespace tools {

enum ExitStatus {
    kDone = 0,
    kAnswerIsNo = 1,
    kUsage = 2,
    kFailed = 3,
};

} // namespace tools
