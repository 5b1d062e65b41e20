#pragma once

#include "ControllerConnection.h"
#include "Exchange.h"
#include "LogModel.h"

#include <QDateTime>
#include <QMainWindow>
#include <QTimer>
#include <QVector>

class ElidedLabel;
class LogView;
class QLabel;
class QSortFilterProxyModel;
struct MenuEntry;

/// The host's window: the menus with the modules' entries, the standard message window, the traffic
/// with the controller, and the state of the connection.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    explicit MainWindow(QWidget *parent = nullptr);

    /// Puts a module's entries into the menus, each at its place. The entries' actions stay the
    /// module's.
    void installEntries(const QList<MenuEntry *> &entries);
    /// What the about box tells of the module.
    void setModuleInfo(const QString &name, const QString &version, const QString &fileName);
    /// @param description  for example "Simulated controller"
    /// @param address      HOST:PORT
    void setController(const QString &description, const QString &address);
    /// @param reason  why it is not connected; may be empty
    void setConnectionState(ControllerConnection::State state, const QString &reason);
    /// An empty text stands for a version that is not known.
    void setBackendVersion(const QString &version);

    void addMessage(const QDateTime &time, const QString &source, const QString &text);
    void addUndelivered(const QDateTime &time, const QString &source, const QString &destination,
                        const QString &text);
    /// Rows appear with the next turn of the event loop; adding one costs next to nothing.
    void addExchange(const Exchange &exchange);
    /// A line from the controller that answers no request.
    void addUnasked(const QDateTime &time, const QByteArray &line);
    /// @param droppedDatagrams  how many came from elsewhere than the controller, all in all
    void setDataRate(double linesPerSecond, quint64 droppedDatagrams);

    /// Shows at once what has been added.
    void flush();

signals:
    /// The user closed the window.
    void closed();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    struct Menu {
        QString title;
        int position;
        QMenu *menu;
    };

    QMenu *menuAt(const QString &title, int position);
    QWidget *makeMessagePanel();
    QWidget *makeTrafficPanel();
    void makeStatusBar();
    void setFilter(const QString &text);
    void showAbout();
    void scheduleFlush();
    void updateCounts();

    QVector<Menu> m_menus;
    LogModel *m_messages;
    LogModel *m_traffic;
    QSortFilterProxyModel *m_trafficFilter;
    LogView *m_messageView;
    LogView *m_trafficView;
    QLabel *m_messageCount;
    ElidedLabel *m_trafficCount;
    ElidedLabel *m_dataRate;
    ElidedLabel *m_moduleLabel;
    QLabel *m_stateLabel;
    ElidedLabel *m_addressLabel;
    ElidedLabel *m_backendLabel;
    QVector<LogModel::Row> m_newMessages;
    QVector<LogModel::Row> m_newTraffic;
    quint64 m_exchanges = 0; ///< since the beginning or since the list was cleared
    QTimer m_flushTimer;
    QString m_moduleText;
};
