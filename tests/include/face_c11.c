/* SPDX-License-Identifier: Apache-2.0 */
#define FACE face_c11
#include "face.inc"
