// What the exchanges with the controller cost that a user waits for: choosing a body, Apply.

#include "Comparison.h"
#include "ControllerLink.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <protocol/CommandChannel.h>
#include <view/GLCanvas.h>

#include <QApplication>
#include <QComboBox>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int kRounds = 400;

/// The least that two programs can do: so many bytes there, so many back, over loopback TCP.
class PingPong {
public:
    PingPong(int requestBytes, int replyBytes)
        : m_request(requestBytes, '?')
        , m_reply(replyBytes, '!')
    {
        const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto *any = reinterpret_cast<sockaddr *>(&address);
        socklen_t size = sizeof address;
        require(listener >= 0 && ::bind(listener, any, size) == 0 && ::listen(listener, 1) == 0 &&
                    ::getsockname(listener, any, &size) == 0,
                "there is no port for a ping-pong");
        m_client = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        require(m_client >= 0 && ::connect(m_client, any, size) == 0, "no connection to itself");
        m_server = ::accept(listener, nullptr, nullptr);
        require(m_server >= 0, "no connection from itself");
        ::close(listener);
        const int on = 1;
        for (const int socket : {m_client, m_server})
            ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        m_thread = std::thread([this] {
            while (receive(m_server, m_request.size()) && send(m_server, m_reply)) {
            }
        });
    }
    ~PingPong()
    {
        ::shutdown(m_client, SHUT_RDWR);
        m_thread.join();
        ::close(m_client);
        ::close(m_server);
    }
    PingPong(const PingPong &) = delete;
    PingPong &operator=(const PingPong &) = delete;

    void exchange() const
    {
        require(send(m_client, m_request) && receive(m_client, m_reply.size()),
                "the ping-pong has ended");
    }

private:
    static bool send(int socket, const std::string &bytes)
    {
        return ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(bytes.size());
    }
    static bool receive(int socket, size_t byteCount)
    {
        char bytes[4096];
        while (byteCount > 0) {
            const ssize_t got = ::recv(socket, bytes, std::min(byteCount, sizeof bytes), 0);
            if (got <= 0)
                return false;
            byteCount -= static_cast<size_t>(got);
        }
        return true;
    }

    std::string m_request;
    std::string m_reply;
    int m_client = -1;
    int m_server = -1;
    std::thread m_thread;
};

/// What a user does in the open dialog.
class Actions {
public:
    Actions(ControllerLink *link, BodyAdjustmentDialog *dialog)
        : m_link(link)
        , m_dialog(dialog)
        , m_list(dialog->findChild<QComboBox *>(QStringLiteral("body_name")))
        , m_canvas(dialog->findChild<GLCanvas *>())
    {
        require(m_list && m_canvas, "the dialog is not what it was");
    }

    void choose(int position, int markerCount) const
    {
        m_list->setCurrentIndex(position);
        require(m_canvas->body().markerCount() == markerCount, "the body was not loaded");
    }
    void move(double lengthMm) const
    {
        m_canvas->setBodyPosition({lengthMm, 0.0, 0.0});
        m_canvas->saveCurrentBody();
        require(m_canvas->hasUnappliedChanges(), "there is nothing to apply");
    }
    void apply() const
    {
        m_dialog->on_apply_button_clicked();
        require(m_canvas->isBodyLoaded() && !m_canvas->hasUnappliedChanges(),
                "the change was not applied");
    }
    /// How many exchanges @p action makes.
    int count(const std::function<void()> &action) const
    {
        const int before = m_link->exchangeCount();
        action();
        return m_link->exchangeCount() - before;
    }

private:
    ControllerLink *m_link;
    BodyAdjustmentDialog *m_dialog;
    QComboBox *m_list;
    GLCanvas *m_canvas;
};

void measureExchange(ControllerLink &link)
{
    CommandChannel channel(link.service());
    const auto readMarker = [&] {
        require(channel.readMarker(QStringLiteral("standard"), 1, 1).has_value(),
                "a marker cannot be read");
    };
    readMarker();
    const Exchange exchange = link.lastExchange();
    const PingPong pingPong(exchange.request.size() + 1, exchange.reply.size() + 1);

    Comparison comparison;
    const int bare = comparison.add("bare ping-pong", [&] { pingPong.exchange(); });
    comparison.add("the host's connection", [&] {
        require(link.connection()->exchange(exchange.request).status == ExchangeStatus::Done,
                "an exchange failed");
    });
    comparison.add("the module, through the command service", readMarker);
    comparison.measure(10 * kRounds);
    std::printf("\n%d bytes there, %d back:", exchange.request.size() + 1,
                exchange.reply.size() + 1);
    comparison.print("one exchange", bare);
}

void measureActions(ControllerLink &link, BodyAdjustmentDialog &dialog)
{
    const Actions actions(&link, &dialog);
    CommandChannel channel(link.service());
    const auto chooseFour = [&] { actions.choose(0, 4); };
    const auto chooseTwenty = [&] { actions.choose(1, 20); };
    bool there = false;
    const auto move = [&] {
        there = !there;
        actions.move(there ? 1.0 : -1.0);
    };
    const auto apply = [&] { actions.apply(); };

    struct Row {
        int work;
        int exchanges;
    };
    std::vector<Row> rows;
    Comparison comparison;
    const int one = comparison.add("one exchange", [&] {
        require(channel.readMarkerCount(QStringLiteral("standard"), 1).has_value(),
                "an exchange failed");
    });
    rows.push_back({one, 1});
    const auto add = [&](const char *name, const std::function<void()> &action,
                         const std::function<void()> &prepare) {
        prepare();
        const int exchanges = actions.count(action);
        rows.push_back({comparison.add(name, action, prepare), exchanges});
    };
    add("choosing a body of 4 markers", chooseFour, chooseTwenty);
    add("choosing a body of 20 markers", chooseTwenty, chooseFour);
    add("Apply to a body of 4 markers", apply, [&] {
        chooseFour();
        move();
    });
    add("Apply to a body of 20 markers", apply, [&] {
        chooseTwenty();
        move();
    });
    comparison.measure(kRounds);

    std::printf("\n%-32s %9s %9s %13s %12s %12s\n", "action", "ratio", "exchanges", "ratio / exch.",
                "median us", "95 % us");
    for (const Row &row : rows) {
        const double ratio = comparison.ratio(row.work, one);
        std::printf("%-32s %9.2f %9d %13.2f %12.2f %12.2f\n", comparison.name(row.work).c_str(),
                    ratio, row.exchanges, ratio / row.exchanges, comparison.medianUs(row.work),
                    comparison.percentile95Us(row.work));
    }
    std::fflush(stdout);
}

/// Both ends of every exchange take turns on one core. Elsewhere whether the other end is woken on
/// the same core or on another one may change from run to run, and weighs more than all the rest.
void stayOnOneCore()
{
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(::sched_getcpu(), &cores);
    require(::sched_setaffinity(0, sizeof cores, &cores) == 0, "there is no core to stay on");
}

/// Leaves out what is always said without windows and without a desktop session.
void showWarning(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (!text.startsWith(QLatin1String("This plugin does not support ")) &&
        !text.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set")))
        std::fprintf(stderr, "%s\n", qPrintable(qFormatLogMessage(type, context, text)));
}

} // namespace

int main(int argc, char **argv)
{
    // Before there are other threads.
    stayOnOneCore();
    // Nothing is looked at: no display is needed, and none disturbs.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(showWarning);
    QApplication application(argc, argv);
    useCLocale();
    ControllerLink link({4, 20});
    std::printf("Exchanges with the simulated controller over loopback, all on one core.\n");
    measureExchange(link);
    link.runInDialog([&](BodyAdjustmentDialog &dialog) { measureActions(link, dialog); });
    return 0;
}
