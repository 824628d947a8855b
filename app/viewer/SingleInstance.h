// SingleInstance: one viewer per user, reached over a local socket.
//
// With Loading\StartupMode 0 (the default) a second start hands its files to
// the running viewer and ends, the way desktop viewers behave today; with 1
// every start opens a window of its own. The socket also takes the few
// commands a script needs to drive the viewer (the smoke test pages through
// images with them). The protocol is lines of UTF-8 text, fields separated by
// tabs:
//
//   open<TAB>PATH[<TAB>PATH...]   show these files (absolute paths)
//   next | previous | first | last | fullscreen | slideshow | quit
//   wait                          answer once the image on screen is settled
//
// and each command is answered by one line, "ok" or "error<TAB>TEXT", sent
// once its effect is on screen (a load finished or failed), so a script can
// capture the screen right after the answer.
#pragma once

#include <QLocalServer>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>

namespace vivark::viewer {

// The server's name: one per user.
QString instanceServerName();

// Sends `command` lines to a running viewer and waits for one answer per
// line; false when none is running or it did not answer in time.
bool sendToRunningViewer(const QStringList& commands, QStringList* answers, int timeoutMs);

class InstanceServer : public QObject {
    Q_OBJECT
  public:
    using Reply = std::function<void(const QString& answer)>;
    using Handler = std::function<void(const QString& command, const QStringList& args, Reply)>;

    explicit InstanceServer(Handler handler, QObject* parent = nullptr);
    // Starts listening; a socket left behind by a viewer that died is removed.
    bool listen();

  private:
    void accept();
    Handler handler_;
    QLocalServer server_;
};

}  // namespace vivark::viewer
