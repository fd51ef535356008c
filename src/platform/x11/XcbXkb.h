// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// xcb's XKB header names a struct member `explicit`, a C++ keyword; renamed for the include only.
#include <xcb/xcb.h>
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
