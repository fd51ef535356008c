// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/AppError.h"

#include <cstring>

AppError::AppError(QString description, QString failureReason)
    : m_description(std::move(description)), m_failureReason(std::move(failureReason))
{
    m_what = m_failureReason.isEmpty()
                 ? m_description.toUtf8()
                 : (m_description + QStringLiteral(": ") + m_failureReason).toUtf8();
}

AppError AppError::fromErrno(int errnoValue, const QString& description)
{
    AppError error(description, QString::fromLocal8Bit(std::strerror(errnoValue)));
    error.m_errno = errnoValue;
    return error;
}
