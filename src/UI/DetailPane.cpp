// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/DetailPane.h"

DetailPane::~DetailPane() = default;
