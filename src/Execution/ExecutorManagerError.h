// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "QuillonCommons/AppError.h"

// The executor's own failures. File-system and launch failures are not among them: they reach
// the caller as the AppError the system produced.
class ExecutorManagerError : public AppError
{
public:
    enum class Case
    {
        inconsistency,
        scriptIsEmpty,
        internalError
    };
    using enum Case;

    explicit ExecutorManagerError(Case errorCase);

    Case errorCase() const { return m_case; }
    static QString describe(Case errorCase);

private:
    Case m_case;
};
