#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Shows which ports of a switch chip have a link, over ctypes, without a compiler:  python3 status.py [CHIP]"""

import contextlib
import ctypes
import sys

PORTS = 24


def open_library():
    """Python binds all symbols at once, also hwa_getreg, which libksl.so takes from the switch-access library. So that
    library must be opened first, with its symbols visible to all."""
    for name in ("libhwa.so", "libqrthwa.gen1.so"):
        with contextlib.suppress(OSError):
            ctypes.CDLL(name, ctypes.RTLD_GLOBAL)
            return ctypes.CDLL("libksl.so")
    sys.exit("neither libhwa.so nor libqrthwa.gen1.so was found; name their folder in LD_LIBRARY_PATH")


def main():
    chip = int(sys.argv[1], 0) if len(sys.argv) > 1 else 0
    ksl = open_library()
    ksl.ksl_read_link_status_reg.argtypes = (ctypes.c_uint32, ctypes.c_char_p)
    ksl.ksl_read_link_status_reg.restype = ctypes.c_int32
    link = ctypes.create_string_buffer(4)
    ksl.ksl_init()
    result = ksl.ksl_read_link_status_reg(chip, link)
    ksl.ksl_terminate()
    if result != 0:
        sys.exit(f"the link status of chip {chip} could not be read: code {result}")
    # A word of register bytes, most significant first, with a bit for each port.
    word = int.from_bytes(link.raw, "big")
    for port in range(PORTS):
        print(f"port {port:2}  {'up' if word >> port & 1 else 'down'}")


if __name__ == "__main__":
    main()
