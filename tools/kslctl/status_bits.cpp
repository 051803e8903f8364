// SPDX-License-Identifier: Apache-2.0
#include "kslctl/status_bits.h"

#include <ksl/ksl.h>

namespace kslctl {

SelfTest self_test(const Bytes &bytes) {
    // Of the register's 48 bits, the top one is the verdict and the low 24 are the ports.
    const Bytes ports = {0, bytes[3], bytes[4], bytes[5]};
    SelfTest result{(bytes[0] & 0x80) == 0, {}};
    for (unsigned port = 0; port < KSL_PORTS; ++port) {
        if (port_bit(ports, port)) {
            result.failed_ports.push_back(port);
        }
    }
    return result;
}

Mode mode(const Bytes &bytes) {
    return {(bytes[0] & 0x01) != 0, (bytes[0] & 0x02) != 0};
}

bool port_bit(const Bytes &bytes, unsigned port) {
    return (bytes[3 - port / 8] >> port % 8 & 1) != 0;
}

} // namespace kslctl
