// SPDX-License-Identifier: GPL-3.0-or-later
#include "LocalHttpServer.h"

LocalHttpServer::LocalHttpServer(QObject* parent) : QObject(parent)
{
    connect(&m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket* socket = m_server.nextPendingConnection()) {
            socket->setParent(this);
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { answer(socket); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
}

bool LocalHttpServer::listen()
{
    return m_server.listen(QHostAddress::LocalHost);
}

QUrl LocalHttpServer::url(const QString& path) const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_server.serverPort()).arg(path));
}

void LocalHttpServer::setResponse(const QString& path, Response response)
{
    m_responses.insert(path, std::move(response));
}

void LocalHttpServer::answer(QTcpSocket* socket)
{
    QByteArray request = socket->property("request").toByteArray() + socket->readAll();
    socket->setProperty("request", request);
    if (!request.contains("\r\n\r\n"))
        return;
    socket->setProperty("request", QByteArray());
    ++m_requests;
    const QList<QByteArray> words = request.left(request.indexOf("\r\n")).split(' ');
    const QString path = words.size() > 1 ? QString::fromLatin1(words.at(1)) : QString();
    const Response response =
        m_responses.value(path, Response{404, QByteArrayLiteral("<html>Not Found</html>"), false});
    if (response.hang)
        return;
    QByteArray reply = "HTTP/1.1 " + QByteArray::number(response.status) +
                       (response.status == 200 ? " OK" : " Error") +
                       "\r\nContent-Type: application/rss+xml\r\nContent-Length: " +
                       QByteArray::number(response.body.size()) + "\r\nConnection: close\r\n\r\n" +
                       response.body;
    socket->write(reply);
    socket->disconnectFromHost();
}
