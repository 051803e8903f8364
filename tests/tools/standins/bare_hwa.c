/* SPDX-License-Identifier: Apache-2.0 */
/* A lower library that has none of the entry points. */
const int hwa_bare = 1;
