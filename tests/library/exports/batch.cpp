// SPDX-License-Identifier: Apache-2.0
#include "batch.h"

#include <algorithm>
#include <sstream>

namespace ksl::test {

void answer_batch(ScriptedPlatform &platform, const Batch &batch) {
    for (const Request &request : batch) {
        platform.registers[{request.place.page, request.place.offset}] = request.answer;
    }
    // A batch that fails has been answered too: none of it may reach the caller.
    platform.on_get_multireg = [&platform](ksl_reg_request *requests, uint32_t count) {
        for (uint32_t i = 0; i < count; ++i) {
            const Bytes &answer = platform.registers[{requests[i].page, requests[i].offset}];
            std::copy(answer.begin(), answer.end(), requests[i].data);
        }
    };
}

int32_t make_batch(Story &story, const Batch &batch, std::vector<Bytes> &data) {
    const auto nothing_traced = [](int32_t) { return Calls{}; };
    data.assign(batch.size(), {});
    if (!story.fault.lacks("hwa_get_multireg")) {
        for (size_t i = 0; i < batch.size(); ++i) {
            data[i] = batch[i].answer;
        }
        std::ostringstream count;
        count << "0x" << std::hex << batch.size();
        return story.access(other("hwa_get_multireg", "0x2 * " + count.str(), nothing_traced));
    }
    story.then({lookup_missing("hwa_get_multireg")});
    int32_t result = 0;
    for (size_t i = 0; i < batch.size(); ++i) {
        result = story.access(read(batch[i].place.page, batch[i].place.offset, batch[i].answer));
        if (result == 0) {
            data[i] = batch[i].answer;
        }
    }
    return result;
}

} // namespace ksl::test
