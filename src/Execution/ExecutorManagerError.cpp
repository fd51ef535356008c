// SPDX-License-Identifier: GPL-3.0-or-later
#include "Execution/ExecutorManagerError.h"

ExecutorManagerError::ExecutorManagerError(Case errorCase)
    : AppError(describe(errorCase)), m_case(errorCase)
{}

QString ExecutorManagerError::describe(Case errorCase)
{
    switch (errorCase) {
    case Case::inconsistency:
        return QStringLiteral("The list of running scripts is inconsistent.");
    case Case::scriptIsEmpty:
        return QStringLiteral("The script is empty.");
    case Case::internalError:
        return QStringLiteral("No temporary folder is available for the script file.");
    }
    return {};
}
