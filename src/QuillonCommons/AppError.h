// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

// A failure value with a readable description and an optional reason, the two texts that
// failure log lines and error dialogs show.
class AppError : public std::exception
{
public:
    explicit AppError(QString description, QString failureReason = {});

    const QString& description() const { return m_description; }
    const QString& failureReason() const { return m_failureReason; }
    const char* what() const noexcept override { return m_what.constData(); }

    // A file-system or launch failure: description names the operation and the path,
    // the reason is the system's own text for errno.
    static AppError fromErrno(int errnoValue, const QString& description);

    int errnoValue() const { return m_errno; }

private:
    QString m_description;
    QString m_failureReason;
    QByteArray m_what;
    int m_errno = 0;
};
