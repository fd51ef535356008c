// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QMap>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrl>

// A tiny HTTP/1.1 server on 127.0.0.1 for tests: answers each path with a fixed status and
// body, or keeps the connection open without answering (a server that hangs).
class LocalHttpServer : public QObject
{
    Q_OBJECT
public:
    struct Response
    {
        int status = 200;
        QByteArray body;
        bool hang = false;
    };

    explicit LocalHttpServer(QObject* parent = nullptr);
    bool listen();
    QUrl url(const QString& path) const;
    void setResponse(const QString& path, Response response);
    int requestCount() const { return m_requests; }

private:
    void answer(QTcpSocket* socket);

    QTcpServer m_server;
    QMap<QString, Response> m_responses;
    int m_requests = 0;
};
