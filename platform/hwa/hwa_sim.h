/* SPDX-License-Identifier: Apache-2.0 */
/**
 * What the simulated hub offers in addition to the entry points of the lower switch-access library (hwa.h).
 * hwa-sim(7) describes scenarios, faults and the log.
 */
#ifndef HWA_SIM_H
#define HWA_SIM_H

#ifdef __cplusplus
extern "C" {
#endif

/** The simulated hub's own result codes. */
enum hwa_sim_code {
    HWA_SIM_NO_SUCH_CHIP = 101, /**< The hub has no chip of that number. */
    HWA_SIM_BAD_LENGTH =
        102, /**< A register of 0 or more than 8 bytes or past the end of its page; no room for an answer. */
    HWA_SIM_NULL_POINTER = 103, /**< A buffer, or the word with its size, is missing. */
    HWA_SIM_REFUSED = 104,      /**< A command or switch configuration that the hub does not know. */
    HWA_SIM_UNUSABLE = 105      /**< No usable state, scenario or fault list; the reason was printed on stderr. */
};

/**
 * Describes the simulated hub in one line: the scenario's name and origin, and where its state lies.
 * A program that finds this symbol talks to a simulation.
 * @return text that lives as long as the library is loaded.
 */
const char *hwa_simulation(void);

#ifdef __cplusplus
}
#endif

#endif
