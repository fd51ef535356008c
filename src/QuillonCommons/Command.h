// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMap>
#include <QString>

// Runs a command line through /bin/sh and collects its output; blocks until the command ends.
class Command
{
public:
    // The complete environment of every command run; by default the process's own.
    Command();
    explicit Command(QMap<QString, QString> env);

    const QMap<QString, QString>& env() const { return m_env; }

    // Returns standard output. Standard error, when it is valid UTF-8, is logged as an error.
    // The exit status is not examined. Throws AppError when the shell cannot be started.
    QString run(const QString& commandLine) const;

private:
    QMap<QString, QString> m_env;
};
