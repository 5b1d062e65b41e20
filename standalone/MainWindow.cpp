#include "MainWindow.h"

#include "ElidedLabel.h"
#include "LogView.h"

#include <host/ModuleInterface.h>

#include <QApplication>
#include <QCloseEvent>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPainter>
#include <QScrollBar>
#include <QSortFilterProxyModel>
#include <QSplitter>
#include <QStatusBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kFileMenuPosition = 0;
constexpr int kHelpMenuPosition = 1000;
/// Pause in which new rows are collected: a burst of exchanges costs one update of the view.
constexpr int kFlushDelayMs = 30;

/// Room for the text of a cell to stand in, on both sides together.
constexpr int kCellMargins = 16;
/// Seen in the smallest window.
constexpr int kFewestRows = 4;
constexpr int kLargestFilterWidth = 200;
constexpr int kSmallestFilterWidth = 90;

enum TrafficColumn { TimeColumn, DirectionColumn, TextColumn, StatusColumn, DurationColumn };

QString timeText(const QDateTime &time)
{
    return time.toString(QStringLiteral("HH:mm:ss.zzz"));
}

QString oneLine(QString text)
{
    return text.replace(QLatin1Char('\n'), QStringLiteral(" \u23ce "));
}

/// Three axes on a tile: the sign of a program about coordinate systems.
QIcon programIcon()
{
    QIcon icon;
    for (const int size : {16, 32, 64, 128}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(size / 64.0, size / 64.0);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0x23, 0x2f, 0x3e));
        painter.drawRoundedRect(QRectF(2, 2, 60, 60), 12, 12);
        const QPointF origin(26, 40);
        const std::pair<QPointF, QColor> axes[] = {{QPointF(54, 46), QColor(0xe5, 0x5b, 0x4d)},
                                                   {QPointF(12, 54), QColor(0x5f, 0xb8, 0x6a)},
                                                   {QPointF(26, 11), QColor(0x5a, 0x9b, 0xe6)}};
        for (const auto &[tip, colour] : axes) {
            painter.setPen(QPen(colour, 5.5, Qt::SolidLine, Qt::RoundCap));
            painter.drawLine(origin, tip);
        }
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::white);
        painter.drawEllipse(origin, 5, 5);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

QLabel *makeTitle(const QString &text)
{
    auto *label = new QLabel(text);
    QFont font = label->font();
    font.setBold(true);
    label->setFont(font);
    return label;
}

template <typename Label>
Label *muted(Label *label)
{
    QPalette palette = label->palette();
    QColor colour = palette.color(QPalette::WindowText);
    colour.setAlphaF(0.62);
    palette.setColor(QPalette::WindowText, colour);
    label->setPalette(palette);
    return label;
}

QToolButton *makeClearButton(const QString &toolTip)
{
    auto *button = new QToolButton;
    button->setText(MainWindow::tr("Clear"));
    button->setToolTip(toolTip);
    button->setAutoRaise(true);
    return button;
}

/// @param left, right  of the head; one that ignores its own width takes what the others leave
QWidget *makePanel(const QVector<QWidget *> &left, const QVector<QWidget *> &right, QWidget *view)
{
    auto *panel = new QFrame;
    panel->setFrameShape(QFrame::StyledPanel);
    auto *head = new QHBoxLayout;
    head->setContentsMargins(10, 6, 8, 6);
    head->setSpacing(10);
    for (QWidget *widget : left)
        head->addWidget(widget);
    head->addStretch(1);
    for (QWidget *widget : right)
        head->addWidget(widget,
                        widget->sizePolicy().horizontalPolicy() == QSizePolicy::Ignored ? 1000 : 0);
    auto *line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    auto *layout = new QVBoxLayout(panel);
    layout->setContentsMargins(1, 0, 1, 1);
    layout->setSpacing(0);
    layout->addLayout(head);
    layout->addWidget(line);
    layout->addWidget(view, 1);
    return panel;
}

/// Gives the columns the width of their samples, and the view a smallest size in which the sample
/// of the stretched one is seen too.
void setColumnWidths(LogView *view, const QStringList &samples, int stretchedColumn)
{
    const QFontMetrics metrics(view->font());
    view->header()->setStretchLastSection(false);
    view->header()->setMinimumSectionSize(40);
    int total = view->verticalScrollBar()->sizeHint().width();
    for (int column = 0; column < samples.size(); ++column) {
        const int width = metrics.horizontalAdvance(samples.at(column)) + kCellMargins;
        total += width;
        if (column == stretchedColumn) {
            view->header()->setSectionResizeMode(column, QHeaderView::Stretch);
        } else {
            view->header()->setSectionResizeMode(column, QHeaderView::Interactive);
            view->header()->resizeSection(column, width);
        }
    }
    view->setMinimumSize(total, view->header()->sizeHint().height() +
                                    kFewestRows * (metrics.height() + kCellMargins / 2));
}

} // namespace

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
    , m_messages(
          new LogModel({tr("Time"), tr("Source"), tr("Text")}, LogModel::kDefaultLimit, this))
    , m_traffic(new LogModel({tr("Time"), tr("Direction"), tr("Text"), tr("Status"), tr("ms")},
                             LogModel::kDefaultLimit, this))
    , m_trafficFilter(new QSortFilterProxyModel(this))
{
    setWindowTitle(tr("Quorel2 Host"));
    setWindowIcon(programIcon());
    resize(1080, 720);

    QMenu *file = menuAt(tr("&File"), kFileMenuPosition);
    QAction *quit = file->addAction(tr("&Quit"), this, &MainWindow::close);
    quit->setShortcut(QKeySequence(QKeySequence::Quit));
    quit->setMenuRole(QAction::QuitRole);
    quit->setStatusTip(tr("End the program"));
    QMenu *help = menuAt(tr("&Help"), kHelpMenuPosition);
    QAction *about = help->addAction(tr("&About"), this, &MainWindow::showAbout);
    about->setMenuRole(QAction::AboutRole);
    about->setStatusTip(tr("Tell the versions of the program and of its module"));

    auto *splitter = new QSplitter(Qt::Vertical);
    splitter->setChildrenCollapsible(false);
    splitter->setHandleWidth(8);
    splitter->addWidget(makeMessagePanel());
    splitter->addWidget(makeTrafficPanel());
    splitter->setStretchFactor(0, 2);
    splitter->setStretchFactor(1, 3);
    splitter->setSizes({240, 400});
    auto *centre = new QWidget;
    auto *layout = new QVBoxLayout(centre);
    layout->setContentsMargins(8, 8, 8, 4);
    layout->addWidget(splitter);
    setCentralWidget(centre);
    makeStatusBar();

    m_flushTimer.setSingleShot(true);
    m_flushTimer.setInterval(kFlushDelayMs);
    connect(&m_flushTimer, &QTimer::timeout, this, &MainWindow::flush);
    setDataRate(0.0, 0);
    setBackendVersion(QString());
    updateCounts();
}

QWidget *MainWindow::makeMessagePanel()
{
    m_messageView = new LogView;
    m_messageView->setObjectName(QStringLiteral("messageView"));
    m_messageView->setModel(m_messages);
    m_messageView->setEmptyText(tr("No messages"),
                                tr("What modules report to the standard message window is listed "
                                   "here, with its time and source."));
    setColumnWidths(m_messageView,
                    {QStringLiteral("00:00:00.000"), QStringLiteral("BodyAdjustmentModule"),
                     QStringLiteral("Error: Unable to set body transformation")},
                    2);

    m_messageCount = muted(new QLabel);
    QToolButton *clear = makeClearButton(tr("Remove all messages from the list"));
    connect(clear, &QToolButton::clicked, this, [this] {
        m_newMessages.clear();
        m_messages->clear();
        updateCounts();
    });
    return makePanel({makeTitle(tr("Messages")), m_messageCount}, {clear}, m_messageView);
}

QWidget *MainWindow::makeTrafficPanel()
{
    m_traffic->setRightAligned({DurationColumn});
    m_trafficFilter->setSourceModel(m_traffic);
    m_trafficFilter->setFilterKeyColumn(TextColumn);
    m_trafficFilter->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_trafficView = new LogView;
    m_trafficView->setObjectName(QStringLiteral("trafficView"));
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPointSizeF(m_trafficView->font().pointSizeF());
    m_trafficView->setFont(font);
    m_trafficView->header()->setFont(QApplication::font());
    m_trafficView->setModel(m_trafficFilter);
    setFilter(QString());
    setColumnWidths(m_trafficView,
                    {QStringLiteral("00:00:00.000"), QStringLiteral("\u2190 Received"),
                     QStringLiteral("quorel2 set body number_of_marker"),
                     QStringLiteral("unexpected reply"), QStringLiteral("00000.00")},
                    TextColumn);

    m_trafficCount = muted(new ElidedLabel(Qt::ElideRight, 18));
    m_trafficCount->setObjectName(QStringLiteral("trafficCount"));
    m_dataRate = new ElidedLabel(Qt::ElideRight, 16);
    m_dataRate->setObjectName(QStringLiteral("dataRateLabel"));
    m_dataRate->setToolTip(tr("Tracking data lines received in the last second"));
    auto *filter = new QLineEdit;
    filter->setObjectName(QStringLiteral("trafficFilter"));
    filter->setPlaceholderText(tr("Filter"));
    filter->setToolTip(tr("Show only lines that hold this text"));
    filter->setClearButtonEnabled(true);
    // It takes what the texts leave.
    filter->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    filter->setMinimumWidth(kSmallestFilterWidth);
    filter->setMaximumWidth(kLargestFilterWidth);
    connect(filter, &QLineEdit::textChanged, this, [this](const QString &text) {
        setFilter(text);
        m_trafficView->scrollToBottom();
        updateCounts();
    });
    QToolButton *clear = makeClearButton(tr("Remove all lines from the list"));
    connect(clear, &QToolButton::clicked, this, [this] {
        m_newTraffic.clear();
        m_traffic->clear();
        m_exchanges = 0;
        updateCounts();
    });
    return makePanel({makeTitle(tr("Controller traffic")), m_trafficCount},
                     {m_dataRate, filter, clear}, m_trafficView);
}

void MainWindow::setFilter(const QString &text)
{
    m_trafficFilter->setFilterFixedString(text);
    if (text.isEmpty())
        m_trafficView->setEmptyText(tr("No traffic"),
                                    tr("Every line to and from the controller is listed here, with "
                                       "the time that its reply took."));
    else
        m_trafficView->setEmptyText(tr("No line with this text"),
                                    tr("Clear the filter to see all lines."));
}

void MainWindow::makeStatusBar()
{
    // The version stands at the end, and so does the port.
    m_moduleLabel = new ElidedLabel(Qt::ElideMiddle, 18);
    m_moduleLabel->setObjectName(QStringLiteral("moduleLabel"));
    m_stateLabel = new QLabel;
    m_stateLabel->setObjectName(QStringLiteral("stateLabel"));
    m_addressLabel = new ElidedLabel(Qt::ElideMiddle, 36);
    m_addressLabel->setObjectName(QStringLiteral("addressLabel"));
    m_addressLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_backendLabel = new ElidedLabel(Qt::ElideRight, 18);
    m_backendLabel->setObjectName(QStringLiteral("backendLabel"));
    // The window is not to become narrower than what is in it.
    statusBar()->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    statusBar()->addWidget(m_moduleLabel);
    m_moduleLabel->setContentsMargins(8, 0, 8, 0);
    for (QLabel *label : {static_cast<QLabel *>(m_backendLabel),
                          static_cast<QLabel *>(m_addressLabel), m_stateLabel}) {
        label->setContentsMargins(8, 0, 8, 0);
        statusBar()->addPermanentWidget(label);
    }
    // The others keep their places when the state changes.
    for (const auto state :
         {ControllerConnection::ConnectedState, ControllerConnection::ConnectingState,
          ControllerConnection::DisconnectedState}) {
        setConnectionState(state, QString());
        m_stateLabel->setMinimumWidth(
            qMax(m_stateLabel->minimumWidth(), m_stateLabel->sizeHint().width()));
    }
}

QMenu *MainWindow::menuAt(const QString &title, int position)
{
    const auto same = std::find_if(m_menus.cbegin(), m_menus.cend(),
                                   [&](const Menu &menu) { return menu.title == title; });
    if (same != m_menus.cend())
        return same->menu;
    const auto after = std::find_if(m_menus.begin(), m_menus.end(),
                                    [&](const Menu &menu) { return menu.position > position; });
    auto *menu = new QMenu(title, this);
    menuBar()->insertMenu(after == m_menus.end() ? nullptr : after->menu->menuAction(), menu);
    m_menus.insert(after, Menu{title, position, menu});
    return menu;
}

void MainWindow::installEntries(const QList<MenuEntry *> &entries)
{
    // In each menu the modules' entries stand in front of the host's own.
    QHash<QMenu *, QAction *> ownFirst;
    for (const Menu &menu : qAsConst(m_menus))
        ownFirst.insert(menu.menu, menu.menu->actions().value(0));
    for (const MenuEntry *entry : entries) {
        if (!entry->action)
            continue;
        QMenu *menu = menuAt(entry->menuTitle, entry->menuPosition);
        menu->insertAction(ownFirst.value(menu), entry->action);
    }
}

void MainWindow::setModuleInfo(const QString &name, const QString &version, const QString &fileName)
{
    m_moduleLabel->setText(tr("%1 %2").arg(name, version));
    m_moduleLabel->setToolTip(fileName);
    m_moduleText =
        tr("<p>Module: %1 %2<br>%3</p>")
            .arg(name.toHtmlEscaped(), version.toHtmlEscaped(), fileName.toHtmlEscaped());
}

void MainWindow::setController(const QString &description, const QString &address)
{
    m_addressLabel->setText(tr("%1 %2").arg(description, address));
}

void MainWindow::setConnectionState(ControllerConnection::State state, const QString &reason)
{
    QString text;
    QColor colour;
    switch (state) {
    case ControllerConnection::ConnectedState:
        text = tr("Connected");
        colour = QColor(0x2e, 0x9e, 0x4f);
        break;
    case ControllerConnection::ConnectingState:
        text = tr("Connecting");
        colour = QColor(0xd0, 0x8a, 0x10);
        break;
    case ControllerConnection::DisconnectedState:
        text = tr("Not connected");
        colour = QColor(0xc6, 0x2f, 0x2f);
        break;
    }
    m_stateLabel->setText(
        QStringLiteral("<span style=\"color:%1\">\u25cf</span>&nbsp;%2").arg(colour.name(), text));
    m_stateLabel->setToolTip(reason);
}

void MainWindow::setBackendVersion(const QString &version)
{
    m_backendLabel->setText(version.isEmpty() ? tr("Backend unknown")
                                              : tr("Backend %1").arg(version));
}

void MainWindow::addMessage(const QDateTime &time, const QString &source, const QString &text)
{
    LogModel::Row row;
    row.cells = QStringList{timeText(time), source, oneLine(text)};
    if (text.startsWith(QLatin1String("Error")))
        row.severity = LogModel::Failure;
    m_newMessages.append(row);
    scheduleFlush();
}

void MainWindow::addUndelivered(const QDateTime &time, const QString &source,
                                const QString &destination, const QString &text)
{
    LogModel::Row row;
    row.cells = QStringList{
        timeText(time), source,
        tr("Not delivered, there is no module \"%1\": %2").arg(destination, oneLine(text))};
    row.severity = LogModel::Warning;
    m_newMessages.append(row);
    scheduleFlush();
}

void MainWindow::addExchange(const Exchange &exchange)
{
    const QDateTime end = exchange.time.addMSecs(qRound64(exchange.milliseconds));
    const bool wasSent = exchange.status != ExchangeStatus::NotConnected &&
                         exchange.status != ExchangeStatus::BadRequest &&
                         exchange.status != ExchangeStatus::Busy;
    LogModel::Row request;
    request.cells =
        QStringList{timeText(exchange.time), wasSent ? tr("\u2192 Sent") : tr("\u2192 Not sent"),
                    oneLine(QString::fromLatin1(exchange.request)), QString(), QString()};
    LogModel::Row reply;
    const QString status = statusText(exchange.status);
    reply.cells =
        QStringList{timeText(end), exchange.replied ? tr("\u2190 Received") : tr("\u2715 No reply"),
                    QString::fromLatin1(exchange.reply), status.isEmpty() ? tr("ok") : status,
                    QString::number(exchange.milliseconds, 'f', 2)};
    if (exchange.status == ExchangeStatus::Refused ||
        (exchange.status == ExchangeStatus::Done && isErrorReply(exchange.reply))) {
        reply.severity = LogModel::Warning;
        reply.cells[StatusColumn] = statusText(ExchangeStatus::Refused);
    } else if (exchange.status != ExchangeStatus::Done) {
        reply.severity = LogModel::Failure;
    }
    m_newTraffic.append(request);
    m_newTraffic.append(reply);
    ++m_exchanges;
    scheduleFlush();
}

void MainWindow::addUnasked(const QDateTime &time, const QByteArray &line)
{
    LogModel::Row row;
    row.cells = QStringList{timeText(time), tr("\u2190 Unasked"),
                            oneLine(QString::fromLatin1(line)), QString(), QString()};
    row.severity = LogModel::Warning;
    m_newTraffic.append(row);
    scheduleFlush();
}

void MainWindow::setDataRate(double linesPerSecond, quint64 droppedDatagrams)
{
    QString text = linesPerSecond > 0.0 ? tr("Data lines: %1/s").arg(linesPerSecond, 0, 'f', 1)
                                        : tr("Data lines: none");
    if (droppedDatagrams > 0)
        text = tr("%1, %2 from elsewhere dropped").arg(text).arg(droppedDatagrams);
    m_dataRate->setText(text);
}

void MainWindow::scheduleFlush()
{
    if (!m_flushTimer.isActive())
        m_flushTimer.start();
}

void MainWindow::flush()
{
    m_flushTimer.stop();
    m_messages->append(m_newMessages);
    m_traffic->append(m_newTraffic);
    m_newMessages.clear();
    m_newTraffic.clear();
    updateCounts();
}

void MainWindow::updateCounts()
{
    m_messageCount->setText(
        m_messages->totalRows() == 0 ? QString() : QString::number(m_messages->totalRows()));
    QString text = m_exchanges == 0 ? QString() : tr("%1 exchanges").arg(m_exchanges);
    if (m_trafficFilter->rowCount() != m_traffic->rowCount())
        text = tr("%1, %2 lines shown").arg(text).arg(m_trafficFilter->rowCount());
    m_trafficCount->setText(text);
}

void MainWindow::showAbout()
{
    auto *box = new QMessageBox(QMessageBox::NoIcon, tr("About Quorel2 Host"),
                                tr("<h3>Quorel2 Host %1</h3>"
                                   "<p>Loads a module, connects it to a tracking controller and "
                                   "shows what passes between them.</p>%2")
                                    .arg(QCoreApplication::applicationVersion(), m_moduleText),
                                QMessageBox::Ok, this);
    box->setIconPixmap(windowIcon().pixmap(64, 64));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    event->accept();
    emit closed();
}
