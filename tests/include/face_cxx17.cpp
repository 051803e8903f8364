// SPDX-License-Identifier: Apache-2.0
#define FACE face_cxx17
#include "face.inc"
