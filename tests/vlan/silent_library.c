/* SPDX-License-Identifier: Apache-2.0 */
/* A library that is no configuration library: it lacks the entry point. */
extern const int silent_library;
const int silent_library = 1;
