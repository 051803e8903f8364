// SPDX-License-Identifier: Apache-2.0
#include "support/json.h"

template class nlohmann::basic_json<nlohmann::ordered_map>;
