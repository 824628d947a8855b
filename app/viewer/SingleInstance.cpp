// The single-instance socket and its commands; see SingleInstance.h.
#include "app/viewer/SingleInstance.h"

#include <unistd.h>
#include <QElapsedTimer>
#include <QLocalSocket>
#include <QPointer>

namespace vivark::viewer {

QString instanceServerName() {
    return QStringLiteral("vivark-view-%1").arg(::getuid());
}

bool sendToRunningViewer(const QStringList& commands, QStringList* answers, int timeoutMs) {
    QLocalSocket socket;
    socket.connectToServer(instanceServerName());
    if (!socket.waitForConnected(std::min(timeoutMs, 1000))) return false;
    QElapsedTimer clock;
    clock.start();
    for (const QString& command : commands) {
        socket.write(command.toUtf8() + '\n');
        socket.flush();
        while (!socket.canReadLine()) {
            const qint64 left = timeoutMs - clock.elapsed();
            if (left <= 0 || !socket.waitForReadyRead(int(left))) return false;
        }
        const QString answer = QString::fromUtf8(socket.readLine()).trimmed();
        if (answers) answers->append(answer);
    }
    return true;
}

InstanceServer::InstanceServer(Handler handler, QObject* parent)
    : QObject(parent), handler_(std::move(handler)) {
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&server_, &QLocalServer::newConnection, this, &InstanceServer::accept);
}

bool InstanceServer::listen() {
    const QString name = instanceServerName();
    if (server_.listen(name)) return true;
    // Nobody answered there (main() asked first): the socket is stale.
    QLocalServer::removeServer(name);
    return server_.listen(name);
}

void InstanceServer::accept() {
    while (QLocalSocket* socket = server_.nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            while (socket->canReadLine()) {
                const QString line = QString::fromUtf8(socket->readLine()).trimmed();
                if (line.isEmpty()) continue;
                QStringList fields = line.split(u'\t');
                const QString command = fields.takeFirst();
                QPointer<QLocalSocket> guard(socket);
                handler_(command, fields, [guard](const QString& answer) {
                    if (!guard) return;
                    guard->write(answer.toUtf8() + '\n');
                    guard->flush();
                });
            }
        });
    }
}

}  // namespace vivark::viewer
