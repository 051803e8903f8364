// SPDX-License-Identifier: Apache-2.0
// Batches of register reads: one call where the lower library has it, else a read for each request.
#pragma once

#include "export.h"

namespace ksl::test {

struct Request {
    struct {
        uint32_t page;
        uint32_t offset;
    } place;
    Bytes answer;
};
using Batch = std::vector<Request>;

// Makes the registers answer, read one by one or together.
void answer_batch(ScriptedPlatform &platform, const Batch &batch);

// Adds one batch to the story. `data` receives what it delivers: nothing for a request whose own read fails. Only the
// last read's result counts.
int32_t make_batch(Story &story, const Batch &batch, std::vector<Bytes> &data);

} // namespace ksl::test
