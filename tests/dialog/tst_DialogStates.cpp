#include "DialogTest.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <model/abcBody.h>
#include <model/abcLine.h>
#include <model/abcMarker.h>
#include <tests/support/TestMain.h>
#include <view/GLCanvas.h>
#include <widgets/BodyTable.h>
#include <widgets/bsDoubleWidget.h>
#include <widgets/xyzWidget.h>

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTabWidget>
#include <QTableWidget>
#include <QTimer>
#include <QtTest>

#include <cmath>
#include <functional>

namespace {

/// A "6df2" line in which the body at that place has the quality; those before it are tracked.
QByteArray vimbarLine(int place, const QByteArray &quality)
{
    QByteArray line = "6df2 8 " + QByteArray::number(place + 1);
    for (int i = 0; i <= place; ++i)
        line += " [" + QByteArray::number(i) + " " + (i == place ? quality : "1.000") + " 4 2]" +
                kPlace + "[0 0]";
    return line;
}

/// A transform command that only moves.
QString moveCommand(const QString &body, const QString &translation)
{
    return "quorel2 body transform " + body + " " + translation +
           " 1.00000000 0.00000000 0.00000000 0.00000000 1.00000000 0.00000000 0.00000000 "
           "0.00000000 1.00000000";
}

QImage shown(const QPixmap &pixmap)
{
    return pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
}

QImage statusImage(const QString &fileName)
{
    return shown(QPixmap(fileName).scaled(18, 18, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
}

QString describe(const QList<QAction *> &actions)
{
    QStringList lines;
    for (const QAction *action : actions) {
        if (action->isSeparator()) {
            lines.append(QStringLiteral("-"));
            continue;
        }
        QString line = action->text();
        if (action->isCheckable())
            line += action->isChecked() ? " [x]" : " [ ]";
        if (!action->isEnabled())
            line += " (disabled)";
        lines.append(line);
    }
    return lines.join(QLatin1Char('\n'));
}

bool near(const bsVector &a, const bsVector &b)
{
    return (a - b).length() < 1e-6;
}

const char kTrackingNotAvailable[] = "<b><font color=red>Tracking is not available!</font></b>";
const char kMultiUserWarning[] = "<b><font color=red>Multi user should be disabled!</font></b>";
const char kNotCalibrated[] = "<b><font color=red>Bod&y not calibrated!</font></b>";
const char kCylinderMarkers[] = "<b><font color=gray>Bod&y has cylinder marker!</font></b>";

const QVector<bsVector> kFour = {{0, 0, 0}, {100, 0, 0}, {0, 60, 0}, {30, 40, 50}};
const QVector<bsVector> kWand = {{0, 0, 0},    {100, 0, 0},   {0, 60, 0},
                                 {30, 40, 50}, {-60, 20, 10}, {20, -70, 30}};
const QVector<bsVector> kSpareProbe = {
    {0, 0, 0}, {80, 0, 0}, {0, 50, 0}, {20, 30, 40}, {-30, 10, 5}};

/// The rows of the table for markers that are seen from a moved origin.
QStringList rowsOf(const QVector<bsVector> &markers, const bsVector &origin = {})
{
    QStringList rows;
    for (int i = 0; i < markers.size(); ++i) {
        const bsVector place = markers.at(i) - origin;
        rows.append(QStringLiteral("%1 %2 %3 %4")
                        .arg(i + 1)
                        .arg(place.x, 0, 'f', 2)
                        .arg(place.y, 0, 'f', 2)
                        .arg(place.z, 0, 'f', 2));
    }
    return rows;
}

QStringList sorted(QStringList texts)
{
    texts.sort();
    return texts;
}

const QStringList kClosing = {"help_button", "ok_button", "cancel_button"};
const QStringList kView = {"pos_xyzWidget", "ori_xyzWidget", "reset_view_button"};
const QStringList kEditing = {"body_pos_xyzWidget", "body_ori_xyzWidget", "set_origin_cog_button",
                              "pushButton_due_to_body"};
const QStringList kRoom = {"adjust_axes_to_room_button", "pushButton_due_to_room",
                           "pushButton_due_to_room_0"};
const QStringList kUnapplied = {"undo_button", "apply_button"};

const QString kRoomEntry = QStringLiteral("Show room orientation");
const QString kAddEntry = QStringLiteral("Add line between markers");
const QString kDeleteEntry = QStringLiteral("Delete line between markers");

/// What the dialog shows and allows.
struct State {
    QStringList enabled;
    QStringList onDisabledTab; ///< enabled as such, on a tab that is not
    QStringList entries;       ///< enabled in the view's menu, of those that are not always
    QStringList rows;          ///< of the marker table
    QStringList posted;        ///< errors, from the opening on
    QStringList boxes;         ///< the questions that came up, from the opening on
    QString caption = QStringLiteral("Bod&y");
    QString bodyIcon = QStringLiteral("none");
    QString errorText; ///< shown unless empty
    QString windowIcon = QStringLiteral("the host's");
    int bodies = 7; ///< in the list
    int chosen = -1;
    int page = 0;
    bool tabs = true;
    bool ticked = false;

    State with(const QStringList &controls) const
    {
        return set(&State::enabled, enabled + controls);
    }
    State without(const QStringList &controls) const
    {
        State state = *this;
        for (const QString &control : controls)
            state.enabled.removeAll(control);
        return state;
    }
    template <typename T, typename Value>
    State set(T State::*field, const Value &value) const
    {
        State state = *this;
        state.*field = value;
        return state;
    }

    QStringList lines() const
    {
        QStringList menu = {"Small markers", "Colored markers", "Emissions",
                            "Long axes",     "Show COG",        "Show XY plane",
                            "Show YZ plane", "Show XZ plane",   "Data view"};
        menu += entries;
        return QStringList{"title: Body Adjustment",
                           "window icon: " + windowIcon,
                           "caption: " + caption,
                           "body icon: " + bodyIcon,
                           QStringLiteral("list: %1 of %2").arg(chosen).arg(bodies),
                           "error label: " + (errorText.isEmpty() ? "hidden" : errorText),
                           QStringLiteral("page: %1").arg(page),
                           QString("tabs: ") + (tabs ? "enabled, enabled" : "disabled, disabled"),
                           QString("online: ") + (ticked ? "ticked" : "not ticked"),
                           "enabled: " + sorted(enabled).join(", "),
                           "on a disabled tab: " + sorted(onDisabledTab).join(", "),
                           "menu: " + sorted(menu).join(", "),
                           "posted: " + posted.join(", "),
                           "boxes: " + boxes.join(", ")} +
               rows;
    }
};

State nothingChosen()
{
    return State().with(QStringList{"body_name"} + kView + kClosing);
}

/// A body that is seen and followed, and not edited.
State seenOnly(int position, const QVector<bsVector> &markers)
{
    return nothingChosen()
        .with({"online_checkbox"})
        .set(&State::chosen, position)
        .set(&State::rows, rowsOf(markers));
}

State editable(int position, const QVector<bsVector> &markers)
{
    return seenOnly(position, markers).with(kEditing);
}

State uncalibrated()
{
    return nothingChosen()
        .without(kView)
        .set(&State::chosen, int(DialogFixture::Raw))
        .set(&State::caption, kNotCalibrated)
        .set(&State::bodyIcon, "grey");
}

State withCylinderMarkers()
{
    return seenOnly(DialogFixture::Tube, kFour)
        .set(&State::caption, kCylinderMarkers)
        .set(&State::tabs, false);
}

State locked(const State &state)
{
    return state.without(kEditing).set(&State::windowIcon, "lock").set(&State::tabs, false);
}

State online(const State &state)
{
    return state.set(&State::ticked, true).set(&State::entries, QStringList{kRoomEntry});
}

using Steps = std::function<void()>;

/// Keeps the reasons for which a widget got the focus.
class FocusReasons : public QObject {
public:
    explicit FocusReasons(QWidget *widget) { widget->installEventFilter(this); }
    QList<Qt::FocusReason> reasons;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::FocusIn)
            reasons.append(static_cast<QFocusEvent *>(event)->reason());
        return QObject::eventFilter(watched, event);
    }
};

} // namespace

Q_DECLARE_METATYPE(State)
Q_DECLARE_METATYPE(Steps)

class TestDialogStates : public DialogTest {
    Q_OBJECT

private:
    void moveAndApply(int position, const QString &x)
    {
        fixture().choose(position);
        fixture().typeValue("body_pos_xyzWidget", 0, x + "\r");
        fixture().click("apply_button");
    }
    QImage statusIcon()
    {
        return shown(fixture().child<QLabel>("body_icon")->pixmap(Qt::ReturnByValue));
    }
    QStringList enabledRoomButtons()
    {
        QStringList enabled;
        for (const char *name :
             {"adjust_axes_to_room_button", "pushButton_due_to_room", "pushButton_due_to_room_0"}) {
            if (fixture().isItselfEnabled(name))
                enabled.append(QString::fromLatin1(name));
        }
        return enabled;
    }
    QStringList emissionRecords()
    {
        QStringList records;
        for (const MarkerRecord &record : canvas()->markerRecords()) {
            const Emission &e = record.emission;
            records.append(QStringLiteral("%1: %2 %3 %4, %5")
                               .arg(record.id)
                               .arg(e.x, 0, 'f', 6)
                               .arg(e.y, 0, 'f', 6)
                               .arg(e.z, 0, 'f', 6)
                               .arg(e.angleDeg));
        }
        return records;
    }
    static QStringList sixTimes(const QString &emission)
    {
        QStringList records;
        for (int i = 0; i < 6; ++i)
            records.append(QStringLiteral("%1: ").arg(i) + emission);
        return records;
    }
    QStringList emissionLabels()
    {
        QStringList texts;
        for (const char *name : {"label_ex", "label_ey", "label_ez"})
            texts.append(fixture().child<QLabel>(name)->text());
        return texts;
    }
    QMenu *canvasMenu()
    {
        return canvas()->findChild<QMenu *>(QString(), Qt::FindDirectChildrenOnly);
    }
    QMenu *tableMenu()
    {
        return dialog()->findChild<BodyTable *>()->findChild<QMenu *>(QString(),
                                                                      Qt::FindDirectChildrenOnly);
    }
    /// The display options that are on.
    QStringList shownOptions()
    {
        const DisplayOptions &options = canvas()->body().options;
        const QVector<QPair<bool, const char *>> all = {{options.smallMarkers, "small"},
                                                        {options.colouredMarkers, "coloured"},
                                                        {options.markerEmissions, "emissions"},
                                                        {options.longAxes, "long axes"},
                                                        {canvas()->isCogVisible(), "cog"},
                                                        {options.xyGrid, "xy"},
                                                        {options.yzGrid, "yz"},
                                                        {options.xzGrid, "xz"},
                                                        {canvas()->isRoomAxesVisible(), "room"}};
        QStringList on;
        for (const auto &option : all) {
            if (option.first)
                on.append(QString::fromLatin1(option.second));
        }
        return on;
    }
    void choose(int position) { fixture().choose(position); }
    void move() { fixture().changeValue("body_pos_xyzWidget", 0, 10.0); }
    /// Begins to turn a wheel and does not end it.
    void startMoving()
    {
        auto *group = fixture().child<QWidget>("body_pos_xyzWidget");
        group->findChildren<bsDoubleWidget *>().first()->adjustValue(10.0);
    }
    void deleteLastMarkerOfTheWand()
    {
        choose(DialogFixture::Wand);
        fixture().selectMarker(5);
        fixture().answers = {QMessageBox::Ok};
        press("pushButton_deleteMarker");
    }
    void addLine()
    {
        fixture().selectMarker(0);
        fixture().selectMarker(1);
        canvas()->introduceLine();
    }
    /// A line of data that tells of the standard body at that list position.
    void tell(int position, const QByteArray &quality)
    {
        QCOMPARE(host().deliver("6d", bodyLine(position, quality)), 0);
    }
    void keepMultiUserOn()
    {
        host().parameters["vimbar multiuser_available"] = "yes";
        host().parameters["vimbar multiuser"] = "yes";
        host().failLine("set vimbar multiuser no");
    }
    void lock() { host().parameters["config is_changeable"] = "no"; }
    void denyTracking() { host().parameters["tracking available"] = "no"; }

    QString errorLabel()
    {
        const auto *label = fixture().child<QLabel>("error_label");
        // Before the dialog is shown, too.
        if (label->isVisibleTo(dialog()))
            return label->text();
        return label->text().isEmpty() ? QString("hidden") : "hidden: " + label->text();
    }
    QString nameOfStatusIcon()
    {
        const QImage icon = statusIcon();
        if (icon.isNull())
            return "none";
        for (const char *name : {"grey", "red", "green"}) {
            if (icon == statusImage(QStringLiteral(":/%1.png").arg(name)))
                return name;
        }
        return "another";
    }
    QString nameOfWindowIcon()
    {
        const QImage icon = shown(dialog()->windowIcon().pixmap(32));
        if (icon == shown(QIcon(":/lock.png").pixmap(32)))
            return "lock";
        return icon == shown(fixture().parentWindow.windowIcon().pixmap(32)) ? "the host's"
                                                                             : "another";
    }
    /// As State::lines() puts it.
    QStringList stateOfTheDialog()
    {
        const auto *list = fixture().child<QComboBox>("body_name");
        const auto *tabs = fixture().child<QTabWidget>("tabWidget");
        QStringList tabStates;
        for (int i = 0; i < tabs->count(); ++i)
            tabStates.append(tabs->isTabEnabled(i) ? "enabled" : "disabled");
        QStringList onDisabledTab;
        const QStringList enabled = fixture().enabledControls();
        for (int i = 0; i < tabs->count(); ++i) {
            const QList<QWidget *> controls = tabs->widget(i)->findChildren<QWidget *>();
            for (const QWidget *control : controls) {
                const QString name = control->objectName();
                const bool isControl = control->inherits("QPushButton") || name.contains("xyz");
                if (isControl && !control->isEnabled() &&
                    fixture().isItselfEnabled(qPrintable(name)))
                    onDisabledTab.append(name);
            }
        }
        QStringList entries;
        for (const QAction *action : canvasMenu()->actions()) {
            if (!action->isSeparator() && action->isEnabled())
                entries.append(action->text());
        }
        QStringList boxTexts;
        for (const SeenBox &box : fixture().boxes)
            boxTexts.append(box.text);
        QStringList rows = fixture().tableRows();
        rows.replaceInStrings(" -0.00", " 0.00");
        const QStringList lines = {
            "title: " + dialog()->windowTitle(),
            "window icon: " + nameOfWindowIcon(),
            "caption: " + fixture().child<QLabel>("loadBody")->text(),
            "body icon: " + nameOfStatusIcon(),
            QStringLiteral("list: %1 of %2").arg(list->currentIndex()).arg(list->count()),
            "error label: " + errorLabel(),
            QStringLiteral("page: %1")
                .arg(fixture().child<QStackedWidget>("stackedWidget")->currentIndex()),
            "tabs: " + tabStates.join(", "),
            QString("online: ") + (fixture().child<QCheckBox>("online_checkbox")->isChecked()
                                       ? "ticked"
                                       : "not ticked"),
            "enabled: " + sorted(enabled).join(", "),
            "on a disabled tab: " + sorted(onDisabledTab).join(", "),
            "menu: " + sorted(entries).join(", "),
            "posted: " + host().errors().join(", "),
            "boxes: " + boxTexts.join(", ")};
        return lines + rows;
    }
    /// A row of prepare, request (null: opened by the menu), work and expected.
    void checkState()
    {
        QFETCH(Steps, prepare);
        QFETCH(QString, request);
        QFETCH(Steps, work);
        QFETCH(State, expected);
        QPixmap hostPixmap(32, 32);
        hostPixmap.fill(Qt::magenta);
        fixture().parentWindow.setWindowIcon(QIcon(hostPixmap));
        prepare();
        host().clearRecords();
        fixture().boxes.clear();
        QStringList state;
        const Steps script = [&] {
            work();
            state = stateOfTheDialog();
        };
        if (request.isNull())
            fixture().quickSession(script);
        else
            fixture().quickRequestedSession("Calibration", request, script);
        QCOMPARE(state, expected.lines());
    }
    void sendKey(int key, const QString &text, quint32 nativeModifiers, bool *accepted)
    {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, 0, 0, nativeModifiers, text);
        QApplication::sendEvent(dialog(), &event);
        *accepted = event.isAccepted();
    }

private slots:
    // States --------------------------------------------------------------------------------------

    void everyStateShowsAndAllowsWhatIsItsOwn_data()
    {
        QTest::addColumn<Steps>("prepare");
        QTest::addColumn<QString>("request");
        QTest::addColumn<Steps>("work");
        QTest::addColumn<State>("expected");
        const Steps nothing = [] {};
        const auto row = [](const char *name, const Steps &prepare, const char *request,
                            const Steps &work, const State &expected) {
            QTest::newRow(name) << prepare << QString(request) << work << expected;
        };
        const auto plainRow = [row, nothing](const char *name, const Steps &work,
                                             const State &expected) {
            row(name, nothing, nullptr, work, expected);
        };
        const auto choosing = [this](int position) { return [=] { choose(position); }; };
        const auto wand = [this](const Steps &work) {
            return [=] {
                choose(DialogFixture::Wand);
                work();
            };
        };
        const auto after = [this](const Steps &session) {
            return [=] { fixture().quickSession(session); };
        };
        const Steps locking = [this] { lock(); };
        const Steps denying = [this] { denyTracking(); };
        const Steps warning = [this] { keepMultiUserOn(); };

        const State none = nothingChosen();
        const State wandState = editable(DialogFixture::Wand, kWand);
        const State plainState = editable(DialogFixture::Plain, kFour);
        const State penState = editable(DialogFixture::Pen, kFour)
                                   .without({"body_pos_xyzWidget", "pushButton_due_to_body"});
        const State probeState = editable(DialogFixture::Probe, kFour);
        const State failedMultiUser =
            none.set(&State::errorText, kMultiUserWarning)
                .set(&State::bodies, 5)
                .set(&State::posted, QStringList{"Error: Unable to deactivate multi user Vimbar"});

        // Kinds of bodies.
        plainRow("nothing chosen", nothing, none);
        plainRow("tt_std", choosing(DialogFixture::Wand), wandState);
        plainRow("tt_std, without emissions", choosing(DialogFixture::Plain), plainState);
        plainRow("vimbar", choosing(DialogFixture::Probe), probeState);
        plainRow("tt_5dof", choosing(DialogFixture::Pen), penState);
        plainRow("tt_5dof after tt_std", wand(choosing(DialogFixture::Pen)), penState);
        row(
            "another target type",
            [this] { host().addBody("standard", 2, "Frame", true, "tt_6dof", kFour); }, nullptr,
            choosing(DialogFixture::Plain), plainState.without({"pushButton_due_to_body"}));
        plainRow("cylinder markers", choosing(DialogFixture::Tube), withCylinderMarkers());
        plainRow("cylinder markers after tt_std", wand(choosing(DialogFixture::Tube)),
                 withCylinderMarkers());
        plainRow("not calibrated", choosing(DialogFixture::Raw), uncalibrated());
        plainRow("not calibrated after tt_std", wand(choosing(DialogFixture::Raw)), uncalibrated());
        plainRow(
            "not calibrated after cylinder markers",
            [this] {
                choose(DialogFixture::Tube);
                choose(DialogFixture::Raw);
            },
            uncalibrated().set(&State::tabs, false));
        // Whether it is tracked the next line tells; that it is not calibrated is no longer true.
        plainRow(
            "tt_std after not calibrated",
            [this] {
                choose(DialogFixture::Raw);
                choose(DialogFixture::Wand);
            },
            wandState);
        plainRow(
            "tt_std after cylinder markers",
            [this] {
                choose(DialogFixture::Tube);
                choose(DialogFixture::Wand);
            },
            wandState);
        row(
            "markers that cannot be read",
            [this] { host().failLine("get body number_of_marker standard b01"); }, nullptr,
            choosing(DialogFixture::Wand),
            none.set(&State::chosen, int(DialogFixture::Wand))
                .set(&State::posted, QStringList{"Error: Unable to check body marker info"}));

        // Configuration locked.
        const State lockedNone = locked(none);
        row("locked, nothing chosen", locking, nullptr, nothing, lockedNone);
        row("locked, tt_std", locking, nullptr, choosing(DialogFixture::Wand), locked(wandState));
        row("locked, tt_5dof", locking, nullptr, choosing(DialogFixture::Pen), locked(penState));
        row("locked, cylinder markers", locking, nullptr, choosing(DialogFixture::Tube),
            locked(withCylinderMarkers()));
        row("locked, not calibrated", locking, nullptr, choosing(DialogFixture::Raw),
            locked(uncalibrated()));
        row(
            "locked, two markers selected", locking, nullptr,
            [this] {
                choose(DialogFixture::Plain);
                fixture().selectMarker(0);
                fixture().selectMarker(1);
            },
            locked(plainState).set(&State::entries, QStringList{kAddEntry}));
        row("locked, online and tracked", locking, nullptr, wand([this] {
                goOnline();
                tell(DialogFixture::Wand, "1.000");
            }),
            online(locked(wandState)).set(&State::bodyIcon, "green"));
        row("locked, requested", locking, "standard|1", nothing,
            locked(wandState).without({"body_name"}));
        row("locked, requested and not there", locking, "standard|9", nothing,
            lockedNone.without({"body_name"}));
        row(
            "no longer locked",
            [this] {
                lock();
                fixture().quickSession(nullptr);
                host().parameters["config is_changeable"] = "yes";
            },
            nullptr, choosing(DialogFixture::Wand), wandState);
        row(
            "locked since the last time",
            [this] {
                fixture().quickSession([this] { choose(DialogFixture::Wand); });
                lock();
            },
            nullptr, nothing, lockedNone);

        // Tracking not available: nothing measures, so there is no orientation to follow.
        const QStringList onlineBox = {"online_checkbox"};
        row("no tracking, nothing chosen", denying, nullptr, nothing, none);
        row("no tracking, tt_std", denying, nullptr, choosing(DialogFixture::Wand),
            wandState.without(onlineBox));
        row("no tracking, cylinder markers", denying, nullptr, choosing(DialogFixture::Tube),
            withCylinderMarkers().without(onlineBox));
        row("no tracking, not calibrated", denying, nullptr, choosing(DialogFixture::Raw),
            uncalibrated());
        row("no tracking, requested", denying, "standard|1", nothing,
            wandState.without({"body_name", "online_checkbox"}));
        row(
            "no tracking, but someone measures",
            [this] {
                denyTracking();
                host().parameters["status active"] = "mea";
            },
            nullptr, choosing(DialogFixture::Wand), wandState);
        row(
            "no tracking, locked",
            [this] {
                denyTracking();
                lock();
            },
            nullptr, choosing(DialogFixture::Wand), locked(wandState).without(onlineBox));

        // Measurement not running.
        row(
            "state is another word than mea",
            [this] {
                host().answerLine("get status active", {0, "idle", true});
            },
            nullptr, choosing(DialogFixture::Wand), wandState.without(onlineBox));
        row(
            "state cannot be read", [this] { host().failLine("get status active"); }, nullptr,
            choosing(DialogFixture::Wand),
            wandState.without(onlineBox).set(&State::posted,
                                             QStringList{"Error: Unable to check mea status"}));

        // Multi-user that stays on.
        row("multi-user stays on, nothing chosen", warning, nullptr, nothing, failedMultiUser);
        row("multi-user stays on, tt_std", warning, nullptr, choosing(DialogFixture::Wand),
            wandState.set(&State::errorText, kMultiUserWarning)
                .set(&State::bodies, 5)
                .set(&State::posted, failedMultiUser.posted));
        row("multi-user stays on, not calibrated", warning, nullptr, choosing(DialogFixture::Raw),
            uncalibrated()
                .set(&State::errorText, kMultiUserWarning)
                .set(&State::bodies, 5)
                .set(&State::posted, failedMultiUser.posted));
        row(
            "multi-user stays on and no tracking",
            [this] {
                keepMultiUserOn();
                denyTracking();
            },
            nullptr, nothing, failedMultiUser);
        row(
            "multi-user stays on, locked",
            [this] {
                keepMultiUserOn();
                lock();
            },
            nullptr, nothing, locked(failedMultiUser));
        row(
            "multi-user on, no vimbars",
            [this] {
                keepMultiUserOn();
                host().parameters["vimbar number_of_devices"] = "0";
            },
            nullptr, nothing, none.set(&State::posted, failedMultiUser.posted));

        // Online and offline.
        const State tracked = online(wandState).with(kRoom).set(&State::bodyIcon, "green");
        const State notTracked = online(wandState).set(&State::bodyIcon, "red");
        const auto followed = [this](int position, const Steps &more) {
            return [=] {
                choose(position);
                goOnline();
                tell(position, "1.000");
                more();
            };
        };
        plainRow("offline and tracked", wand([this] { tell(DialogFixture::Wand, "1.000"); }),
                 wandState.set(&State::bodyIcon, "green"));
        plainRow("offline and not tracked", wand([this] { tell(DialogFixture::Wand, "-1.000"); }),
                 wandState.set(&State::bodyIcon, "red"));
        plainRow("online, nothing told yet", wand([this] { goOnline(); }), online(wandState));
        plainRow("online and tracked", followed(DialogFixture::Wand, nothing), tracked);
        plainRow("online and poorly tracked", wand([this] {
                     goOnline();
                     tell(DialogFixture::Wand, "0.400");
                 }),
                 tracked);
        plainRow("online and lost",
                 followed(DialogFixture::Wand, [this] { tell(DialogFixture::Wand, "-1.000"); }),
                 notTracked);
        plainRow("online and never tracked", wand([this] {
                     goOnline();
                     tell(DialogFixture::Plain, "1.000");
                 }),
                 notTracked);
        plainRow("offline again", followed(DialogFixture::Wand, [this] { goOnline(); }),
                 wandState.set(&State::bodyIcon, "green"));
        plainRow("offline again and tracked",
                 followed(DialogFixture::Wand,
                          [this] {
                              goOnline();
                              tell(DialogFixture::Wand, "1.000");
                          }),
                 wandState.set(&State::bodyIcon, "green"));
        plainRow("online again",
                 followed(DialogFixture::Wand,
                          [this] {
                              goOnline();
                              goOnline();
                              tell(DialogFixture::Wand, "1.000");
                          }),
                 tracked);
        plainRow(
            "vimbar online and tracked",
            [this] {
                choose(DialogFixture::Probe);
                goOnline();
                QCOMPARE(host().deliver("6df2", vimbarLine(0, "1.000")), 0);
            },
            online(probeState).with(kRoom).set(&State::bodyIcon, "green"));
        plainRow(
            "vimbar online and lost",
            [this] {
                choose(DialogFixture::Probe);
                goOnline();
                QCOMPARE(host().deliver("6df2", vimbarLine(0, "-1.000")), 0);
            },
            online(probeState).set(&State::bodyIcon, "red"));
        plainRow("tt_5dof online and tracked", followed(DialogFixture::Pen, nothing),
                 online(penState).set(&State::bodyIcon, "green"));
        plainRow("cylinder markers online and tracked", followed(DialogFixture::Tube, nothing),
                 online(withCylinderMarkers()).set(&State::bodyIcon, "green"));
        // The box keeps its tick for the next body that can be followed.
        plainRow("not calibrated after online",
                 followed(DialogFixture::Wand, choosing(DialogFixture::Raw)),
                 uncalibrated().set(&State::ticked, true));
        plainRow("online with the next body",
                 followed(DialogFixture::Wand,
                          [this] {
                              choose(DialogFixture::Plain);
                              tell(DialogFixture::Plain, "1.000");
                          }),
                 online(plainState).with(kRoom).set(&State::bodyIcon, "green"));
        row("opened again after online", after(followed(DialogFixture::Wand, nothing)), nullptr,
            nothing, none);

        // Requests.
        const auto requested = [](const State &state) { return state.without({"body_name"}); };
        row("requested", nothing, "standard|1", nothing, requested(wandState));
        row("requested vimbar", nothing, "vimbar|2", nothing,
            requested(editable(DialogFixture::SpareProbe, kSpareProbe)));
        row("requested tt_5dof", nothing, "standard|3", nothing, requested(penState));
        row("requested with cylinder markers", nothing, "standard|4", nothing,
            requested(withCylinderMarkers()));
        row("requested and not calibrated", nothing, "standard|5", nothing,
            requested(uncalibrated()));
        const State notThere = requested(none).with(
            {"body_pos_xyzWidget", "body_ori_xyzWidget", "set_origin_cog_button"});
        row("requested and not there", nothing, "standard|9", nothing, notThere);
        row("requested and not there, after a session", after(choosing(DialogFixture::Wand)),
            "standard|9", nothing, notThere);
        row("requested vimbar while multi-user stays on", warning, "vimbar|2", nothing,
            notThere.set(&State::errorText, kMultiUserWarning)
                .set(&State::bodies, 5)
                .set(&State::posted, failedMultiUser.posted));
        row(
            "opened by the menu after a request",
            [this] { fixture().quickRequestedSession("Calibration", "standard|1", nullptr); },
            nullptr, nothing, none);

        // Selections.
        const QStringList origin = {"set_origin_button"};
        const QStringList axis = {"set_origin_button", "set_axis_button"};
        const auto select = [this](int position, const QVector<int> &markers) {
            return [=] {
                choose(position);
                for (const int marker : markers)
                    fixture().selectMarker(marker);
            };
        };
        plainRow("a marker selected", select(DialogFixture::Wand, {5}),
                 wandState.with(origin + QStringList{"pushButton_deleteMarker"}));
        plainRow("a marker of four selected", select(DialogFixture::Plain, {3}),
                 plainState.with(origin));
        plainRow("a marker of five selected", select(DialogFixture::SpareProbe, {0}),
                 editable(DialogFixture::SpareProbe, kSpareProbe)
                     .with(origin + QStringList{"pushButton_deleteMarker"}));
        plainRow("two markers selected", select(DialogFixture::Wand, {5, 0}),
                 wandState.with(axis).set(&State::entries, QStringList{kAddEntry}));
        plainRow("two joined markers selected", wand([this] { addLine(); }), wandState.with(axis));
        plainRow("a line selected", wand([this] {
                     addLine();
                     canvas()->select(canvas()->body().lines().first());
                 }),
                 wandState.set(&State::entries, QStringList{kDeleteEntry}));
        plainRow("nothing selected any more", wand([this] {
                     fixture().selectMarker(0);
                     fixture().selectMarker(1);
                     canvas()->select(nullptr);
                 }),
                 wandState);
        plainRow(
            "selected in the body before",
            [this] {
                choose(DialogFixture::Wand);
                fixture().selectMarker(5);
                choose(DialogFixture::Plain);
            },
            plainState);
        plainRow("two markers with cylinder markers", select(DialogFixture::Tube, {0, 1}),
                 withCylinderMarkers()
                     .set(&State::onDisabledTab, axis)
                     .set(&State::entries, QStringList{kAddEntry}));
        row("selected at the last closing", after(select(DialogFixture::Wand, {5, 0})), nullptr,
            nothing, none);

        // Edits and what was done with them.
        const bsVector tenAlongX(10, 0, 0);
        const State moved = wandState.with(kUnapplied).set(&State::rows, rowsOf(kWand, tenAlongX));
        // The table shows what is committed.
        plainRow("a wheel is turned", wand([this] { startMoving(); }), wandState.with(kUnapplied));
        plainRow("edited", wand([this] { move(); }), moved);
        plainRow(
            "tt_5dof edited",
            [this] {
                choose(DialogFixture::Pen);
                press("set_origin_cog_button");
            },
            penState.with(kUnapplied).set(&State::rows, rowsOf(kFour, {32.5, 25, 12.5})));
        plainRow("undone", wand([this] {
                     move();
                     press("undo_button");
                 }),
                 wandState.with({"redo_button"}));
        plainRow("one of two undone", wand([this] {
                     move();
                     move();
                     press("undo_button");
                 }),
                 moved.with({"redo_button"}));
        plainRow("redone", wand([this] {
                     move();
                     press("undo_button");
                     press("redo_button");
                 }),
                 moved);
        plainRow("undone, and a wheel is turned", wand([this] {
                     move();
                     press("undo_button");
                     startMoving();
                 }),
                 wandState.with(kUnapplied));
        plainRow("undone and edited", wand([this] {
                     move();
                     press("undo_button");
                     move();
                 }),
                 moved);
        plainRow("applied", wand([this] {
                     move();
                     press("apply_button");
                 }),
                 wandState.set(&State::rows, rowsOf(kWand, tenAlongX)));
        plainRow("applied and undone before", wand([this] {
                     move();
                     move();
                     press("undo_button");
                     press("apply_button");
                 }),
                 wandState.set(&State::rows, rowsOf(kWand, tenAlongX)));
        plainRow(
            "changes dropped for another body",
            [this] {
                choose(DialogFixture::Wand);
                move();
                fixture().answers = {QMessageBox::No};
                choose(DialogFixture::Plain);
            },
            plainState.set(&State::boxes, QStringList{"Apply the changes?"}));
        row("opened again after dropped changes", after(wand([this] { move(); })), nullptr, nothing,
            none);
        row("requested and not there, after dropped changes", after(wand([this] { move(); })),
            "standard|9", nothing, notThere);

        // Deletion.
        const QStringList question = {"Delete selected marker?"};
        const State deleted = wandState.with({"undo_button"})
                                  .set(&State::rows, rowsOf(kWand.mid(0, 5)))
                                  .set(&State::boxes, question);
        plainRow(
            "deleted", [this] { deleteLastMarkerOfTheWand(); }, deleted);
        plainRow(
            "deletion undone",
            [this] {
                deleteLastMarkerOfTheWand();
                press("undo_button");
            },
            wandState.with({"redo_button"}).set(&State::boxes, question));
        plainRow(
            "deletion redone",
            [this] {
                deleteLastMarkerOfTheWand();
                press("undo_button");
                press("redo_button");
            },
            deleted);
        plainRow(
            "another body after a deletion",
            [this] {
                deleteLastMarkerOfTheWand();
                choose(DialogFixture::Plain);
            },
            plainState.set(&State::boxes, question));

        // Data view.
        plainRow("data view", wand([this] { dialog()->toggled_switch_view(); }),
                 wandState.without({"reset_view_button"}).set(&State::page, 1));
        plainRow(
            "data view, nothing chosen", [this] { dialog()->toggled_switch_view(); },
            none.without({"reset_view_button"}).set(&State::page, 1));
        plainRow("graphic view again", wand([this] {
                     dialog()->toggled_switch_view();
                     dialog()->toggled_switch_view();
                 }),
                 wandState);
    }

    void everyStateShowsAndAllowsWhatIsItsOwn() { checkState(); }

    void eachVersionBringsItsOwnToTheStates_data()
    {
        QTest::addColumn<Steps>("prepare");
        QTest::addColumn<QString>("request");
        QTest::addColumn<Steps>("work");
        QTest::addColumn<State>("expected");
        const auto rows = [this](const char *what, int major, int minor, const Steps &prepare,
                                 const Steps &work, const State &below, const State &from) {
            const struct {
                int minor, patch;
                const State &expected;
            } versions[] = {{minor - 1, -1, below}, {minor - 1, 99, below}, {minor, -5, below},
                            {minor, -1, from},      {minor, 0, from},       {minor + 1, -5, from}};
            for (const auto &version : versions) {
                const int minorOfRow = version.minor;
                const int patch = version.patch;
                const Steps prepareVersion = [=] {
                    host().setVersion(major, minorOfRow, patch);
                    prepare();
                };
                QTest::addRow("%s, %d.%d, patch %d", what, major, minorOfRow, patch)
                    << prepareVersion << QString() << work << version.expected;
            }
        };
        const Steps nothing = [] {};
        const State wand = editable(DialogFixture::Wand, kWand);
        const State probe = online(editable(DialogFixture::Probe, kFour));
        // The one form says that the vimbar is tracked, the other that it is not.
        rows(
            "form of the vimbars' lines", 0, 6,
            [this] { host().parameters["vimbar output_6df"] = "yes"; },
            [this] {
                choose(DialogFixture::Probe);
                goOnline();
                host().deliver("6df", "6df 1 [0 1.000 0]" + kPlace);
                host().deliver("6df2", vimbarLine(0, "-1.000"));
            },
            probe.set(&State::bodyIcon, "red"), probe.with(kRoom).set(&State::bodyIcon, "green"));
        rows(
            "tracking denied", 0, 17, [this] { denyTracking(); },
            [this] { choose(DialogFixture::Wand); }, wand, wand.without({"online_checkbox"}));
        rows(
            "configuration locked", 1, 9, [this] { lock(); }, nothing, nothingChosen(),
            locked(nothingChosen()));
        rows(
            "configuration locked, tt_std", 1, 9, [this] { lock(); },
            [this] { choose(DialogFixture::Wand); }, wand, locked(wand));
        const State pen = editable(DialogFixture::Pen, kFour);
        rows(
            "tt_5dof", 1, 12, nothing, [this] { choose(DialogFixture::Pen); }, pen,
            pen.without({"body_pos_xyzWidget", "pushButton_due_to_body"}));
        rows(
            "cylinder markers", 1, 12, nothing, [this] { choose(DialogFixture::Tube); },
            editable(DialogFixture::Tube, kFour), withCylinderMarkers());
        const State selected = wand.with({"set_origin_button"});
        rows(
            "a marker selected", 1, 17, nothing,
            [this] {
                choose(DialogFixture::Wand);
                fixture().selectMarker(5);
            },
            selected, selected.with({"pushButton_deleteMarker"}));
    }

    void eachVersionBringsItsOwnToTheStates() { checkState(); }

    // Between the steps of the opening ------------------------------------------------------------

    void thatTrackingIsNotAvailableIsSaidUntilTheListIsBuilt_data()
    {
        QTest::addColumn<int>("minor");
        QTest::addColumn<QString>("word");
        QTest::addColumn<bool>("multiUserStaysOn");
        QTest::addColumn<bool>("said");
        QTest::newRow("not available") << 17 << "no" << false << true;
        QTest::newRow("not available, and multi-user stays on") << 17 << "no" << true << true;
        QTest::newRow("available") << 17 << "yes" << false << false;
        QTest::newRow("available, and multi-user stays on") << 17 << "yes" << true << false;
        QTest::newRow("older backend") << 16 << "no" << false << false;
    }

    void thatTrackingIsNotAvailableIsSaidUntilTheListIsBuilt()
    {
        QFETCH(int, minor);
        QFETCH(QString, word);
        QFETCH(bool, multiUserStaysOn);
        QFETCH(bool, said);
        host().setVersion(0, minor);
        host().parameters["tracking available"] = word;
        if (multiUserStaysOn)
            keepMultiUserOn();
        int asked = 0;
        QStringList seen;
        host().hook = [&](const FakeHost::Exchange &exchange) -> std::optional<FakeHost::Answer> {
            if (exchange.line == "get body number_of_bodies standard" && ++asked % 2 == 1) {
                seen = QStringList{errorLabel(), nameOfStatusIcon(),
                                   fixture().child<QLabel>("loadBody")->text(),
                                   fixture().isEnabled("reset_view_button") ? "view" : "no view"};
            }
            return std::nullopt;
        };
        // Of the session before, everything that is shown can still be there.
        for (const bool first : {true, false}) {
            seen.clear();
            fixture().quickSession([&] {
                const QString end = multiUserStaysOn ? kMultiUserWarning : "hidden";
                QCOMPARE(errorLabel(), end);
                choose(DialogFixture::Raw);
                QCOMPARE(errorLabel(), end);
                QCOMPARE(nameOfStatusIcon(), QStringLiteral("grey"));
            });
            if (said) {
                // The caption and the icon are left for the list.
                QCOMPARE(seen, (QStringList{kTrackingNotAvailable, first ? "none" : "grey",
                                            first ? "Bod&y" : kNotCalibrated, "no view"}));
            } else {
                QCOMPARE(seen, (QStringList{"hidden", "none", "Bod&y", "view"}));
            }
        }
    }

    // Requests ------------------------------------------------------------------------------------

    void okAnswersARequestOnce_data()
    {
        QTest::addColumn<bool>("changed");
        QTest::newRow("nothing changed") << false;
        QTest::newRow("a change to write") << true;
    }

    void okAnswersARequestOnce()
    {
        QFETCH(bool, changed);
        fixture().requestedSession(" standard|2", [&] {
            if (changed)
                fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            host().clearRecords();
            fixture().click("ok_button");
        });
        QStringList expected;
        if (changed)
            expected.append(moveCommand("standard b02", "-10.000 0.000 0.000"));
        expected +=
            QStringList{"get status active", "quorel2 tracking stop",
                        "get status active", "remove 6d",
                        "remove 6df2",       "post Calibration BodyAdjustmentModule 1 reopen"};
        QCOMPARE(withPlainZeros(host().journal), expected);

        // Whoever asked is forgotten with the answer.
        host().clearRecords();
        fixture().session([&] {
            QVERIFY(fixture().isEnabled("body_name"));
            fixture().click("ok_button");
        });
        QVERIFY(host().messages.isEmpty());
    }

    void aDialogHiddenByTheHostLeavesTheControllerAsItWas()
    {
        host().parameters["tracking reference"] = "standard 02";
        fixture().requestedSession(" standard|2", [&] {
            QCOMPARE(host().parameters.value("tracking reference"), QStringLiteral("none"));
            host().clearRecords();
            dialog()->hide();
        });
        QCOMPARE(host().journal,
                 (QStringList{"get status active", "quorel2 tracking stop", "remove 6d",
                              "remove 6df2", "set tracking reference standard 02",
                              "post Calibration BodyAdjustmentModule 1 reopen"}));
        QVERIFY(host().requesters.isEmpty());

        host().clearRecords();
        fixture().session([&] {
            QVERIFY(fixture().isEnabled("body_name"));
            QCOMPARE(host().requesters.keys(), (QStringList{"6d", "6df2"}));
            fixture().choose(DialogFixture::Wand);
            QVERIFY(canvas()->isBodyLoaded());
        });
        QVERIFY(host().messages.isEmpty());
        QVERIFY(host().requesters.isEmpty());
        QCOMPARE(host().parameters.value("tracking reference"), QStringLiteral("standard 02"));
    }

    void aRequestedBodyThatCannotBeEditedIsShownAsIfChosenByHand_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QStringList>("enabled");
        QTest::addColumn<QString>("caption");
        QTest::addColumn<int>("rows");
        QTest::newRow("cylinder markers")
            << int(DialogFixture::Tube) << QByteArray(" standard|4")
            << QStringList{"pos_xyzWidget", "ori_xyzWidget", "reset_view_button", "online_checkbox",
                           "help_button",   "ok_button",     "cancel_button"}
            << "<b><font color=gray>Bod&y has cylinder marker!</font></b>" << 4;
        QTest::newRow("not calibrated")
            << int(DialogFixture::Raw) << QByteArray(" standard|5")
            << QStringList{"help_button", "ok_button", "cancel_button"}
            << "<b><font color=red>Bod&y not calibrated!</font></b>" << 0;
    }

    void aRequestedBodyThatCannotBeEditedIsShownAsIfChosenByHand()
    {
        QFETCH(int, position);
        QFETCH(QByteArray, request);
        QFETCH(QStringList, enabled);
        QFETCH(QString, caption);
        QFETCH(int, rows);
        const auto check = [&](const QStringList &expected) {
            QCOMPARE(fixture().child<QComboBox>("body_name")->currentIndex(), position);
            QCOMPARE(fixture().child<QLabel>("loadBody")->text(), caption);
            QCOMPARE(fixture().tableRows().size(), rows);
            QCOMPARE(canvas()->isBodyLoaded(), rows > 0);
            QCOMPARE(canvas()->body().markerCount(), rows);
            QCOMPARE(fixture().enabledControls(), expected);
            if (rows == 0)
                QCOMPARE(statusIcon(), statusImage(":/grey.png"));
        };
        fixture().requestedSession(request, [&] { check(enabled); });
        fixture().session([&] {
            fixture().choose(position);
            check(QStringList{"body_name"} + enabled);
        });
    }

    // Tracking ------------------------------------------------------------------------------------

    void aBodyThatIsLostIsNoLongerShownAsTracked_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<QByteArray>("lineType");
        QTest::addColumn<QByteArray>("tracked");
        QTest::addColumn<QByteArray>("lost");
        QTest::newRow("standard body") << int(DialogFixture::Plain) << QByteArray("6d")
                                       << bodyLine(1, "1.000") << bodyLine(1, "-1.000");
        QTest::newRow("vimbar") << int(DialogFixture::SpareProbe) << QByteArray("6df2")
                                << vimbarLine(1, "1.000") << vimbarLine(1, "-1.000");
    }

    void aBodyThatIsLostIsNoLongerShownAsTracked()
    {
        QFETCH(int, position);
        QFETCH(QByteArray, lineType);
        QFETCH(QByteArray, tracked);
        QFETCH(QByteArray, lost);
        fixture().session([&] {
            fixture().choose(position);
            goOnline();
            QCOMPARE(host().deliver(lineType, tracked), 0);
            QTRY_VERIFY(canvas()->isTracked());
            QVERIFY(near(canvas()->roomMatrix().column(0), bsVector(0, 1, 0)));
            QVERIFY(near(canvas()->roomPosition(), bsVector(10, 20, 30)));
            QCOMPARE(host().deliver(lineType, lost), 0);
            QTRY_VERIFY(!canvas()->isTracked());
            // The view stays where the body was seen last.
            QVERIFY(near(canvas()->roomMatrix().column(0), bsVector(0, 1, 0)));
            QVERIFY(canvas()->isOnline());
        });
    }

    void choosingABodyForgetsWhereItWasTracked_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<int>("other");
        QTest::addColumn<QByteArray>("lineType");
        QTest::addColumn<QByteArray>("tracked");
        const QByteArray standard = bodyLine(1, "1.000");
        const QByteArray vimbar = vimbarLine(1, "1.000");
        QTest::newRow("standard, standard, standard")
            << int(DialogFixture::Plain) << int(DialogFixture::Wand) << QByteArray("6d")
            << standard;
        QTest::newRow("standard, vimbar, standard")
            << int(DialogFixture::Plain) << int(DialogFixture::Probe) << QByteArray("6d")
            << standard;
        QTest::newRow("vimbar, vimbar, vimbar")
            << int(DialogFixture::SpareProbe) << int(DialogFixture::Probe) << QByteArray("6df2")
            << vimbar;
        QTest::newRow("vimbar, standard, vimbar")
            << int(DialogFixture::SpareProbe) << int(DialogFixture::Wand) << QByteArray("6df2")
            << vimbar;
    }

    void choosingABodyForgetsWhereItWasTracked()
    {
        QFETCH(int, position);
        QFETCH(int, other);
        QFETCH(QByteArray, lineType);
        QFETCH(QByteArray, tracked);
        fixture().session([&] {
            fixture().choose(position);
            goOnline();
            host().deliver(lineType, tracked);
            QTRY_VERIFY(canvas()->isTracked());
            fixture().choose(other);
            QVERIFY(!canvas()->isTracked());
            dialog()->update_track();
            QVERIFY(!canvas()->isTracked());
            fixture().choose(position);
            dialog()->update_track();
            QVERIFY(canvas()->isOnline());
            QVERIFY(!canvas()->isTracked());
            QVERIFY(near(canvas()->roomMatrix().column(0), bsVector(1, 0, 0)));
            host().deliver(lineType, tracked);
            QTRY_VERIFY(canvas()->isTracked());
        });
    }

    void typeKeywordsAreMeantInAnyCase()
    {
        host().parameters = FakeHost().parameters;
        const QVector<bsVector> markers = {{0, 0, 0}, {100, 0, 0}, {0, 60, 0}, {30, 40, 50}};
        host().addBody("Standard", 1, "Wand", true, "tt_std", markers);
        host().addBody("Standard", 2, "Pen", true, "tt_std", markers);
        host().addBody("VIMBAR", 1, "Probe", true, "tt_std", markers);
        host().addBody("VIMBAR", 2, "Spare probe", true, "tt_std", markers);
        fixture().session([&] {
            auto *list = fixture().child<QComboBox>("body_name");
            QStringList entries;
            for (int i = 0; i < list->count(); ++i)
                entries.append(list->itemData(i).toString());
            QCOMPARE(entries,
                     (QStringList{"Standard|1|calibrated|tt_std", "Standard|2|calibrated|tt_std",
                                  "VIMBAR|1|calibrated|tt_std", "VIMBAR|2|calibrated|tt_std"}));
            QSignalSpy tracked(dialog(), &BodyAdjustmentDialog::set_chosen_body_tracked);
            fixture().choose(1);
            goOnline();
            host().deliver("6d", bodyLine(1, "1.000"));
            QCOMPARE(tracked.count(), 1);
            QTRY_VERIFY(canvas()->isTracked());
            QCOMPARE(enabledRoomButtons().size(), 3);
            fixture().choose(3);
            QVERIFY(!canvas()->isTracked());
            host().deliver("6df2", vimbarLine(1, "1.000"));
            QCOMPARE(tracked.count(), 2);
            QTRY_VERIFY(canvas()->isTracked());
            QVERIFY(fixture().boxes.isEmpty());

            fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            fixture().click("apply_button");
            QCOMPARE(withPlainZeros(transforms()),
                     QStringList{moveCommand("VIMBAR b02", "-10.000 0.000 0.000")});
        });
    }

    void aControllerWithThePlainVimbarFormIsFollowedById()
    {
        host().parameters["vimbar output_6df"] = "yes";
        const QByteArray rest = kPlace;
        fixture().session([&] {
            const int begin = host().journal.indexOf("add 6d");
            QCOMPARE(host().journal.mid(begin),
                     (QStringList{"add 6d", "quorel2 get vimbar output_6df", "add 6df",
                                  "set output active chmon 6df yes", "quorel2 tracking start",
                                  "get status active"}));
            QCOMPARE(host().requesters.keys(), (QStringList{"6d", "6df"}));

            fixture().choose(DialogFixture::SpareProbe);
            goOnline();
            QSignalSpy tracked(dialog(), &BodyAdjustmentDialog::set_chosen_body_tracked);
            const auto deliver = [&](const QByteArray &line) {
                tracked.clear();
                if (host().deliver("6df", line) != 0)
                    return QStringLiteral("malformed");
                QStringList told;
                for (const QList<QVariant> &arguments : tracked)
                    told.append(arguments.first().toString());
                return told.join(QLatin1Char(' '));
            };
            // Id 1 is the second vimbar, wherever its block stands.
            QCOMPARE(deliver("6df 2 [1 1.000 0]" + rest + " [0 -1.000 0]" + rest), "true");
            QTRY_VERIFY(canvas()->isTracked());
            QCOMPARE(deliver("6df 2 [0 1.000 0]" + rest + " [1 -1.000 0]" + rest), "false");
            QTRY_VERIFY(!canvas()->isTracked());
            QCOMPARE(deliver("6df 2 [0 1.000 0]" + rest + " [4 1.000 0]" + rest), "");
            QCOMPARE(deliver("6df 1 [1 1.000"), "malformed");
            dialog()->update_track();
            QVERIFY(!canvas()->isTracked());
            host().clearRecords();
        });
        QCOMPARE(host().journal, (QStringList{"get status active", "quorel2 tracking stop",
                                              "get status active", "remove 6d", "remove 6df"}));
        QVERIFY(host().requesters.isEmpty());
    }

    void theRoomButtonsNeedAnOnlineViewOfABodyThatMayBeEdited_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<bool>("online");
        QTest::addColumn<bool>("locked");
        QTest::addColumn<int>("enabled");
        QTest::newRow("tt_std") << int(DialogFixture::Wand) << true << false << 3;
        QTest::newRow("vimbar") << int(DialogFixture::Probe) << true << false << 3;
        QTest::newRow("offline") << int(DialogFixture::Wand) << false << false << 0;
        QTest::newRow("locked") << int(DialogFixture::Wand) << true << true << 0;
        QTest::newRow("tt_5dof") << int(DialogFixture::Pen) << true << false << 0;
        QTest::newRow("cylinder markers") << int(DialogFixture::Tube) << true << false << 0;
    }

    void theRoomButtonsNeedAnOnlineViewOfABodyThatMayBeEdited()
    {
        QFETCH(int, position);
        QFETCH(bool, online);
        QFETCH(bool, locked);
        QFETCH(int, enabled);
        if (locked)
            host().parameters["config is_changeable"] = "no";
        fixture().session([&] {
            fixture().choose(position);
            if (online)
                goOnline();
            QCOMPARE(canvas()->isOnline(), online);
            dialog()->update_room_buttons(true);
            QCOMPARE(enabledRoomButtons().size(), enabled);
            QCOMPARE(statusIcon(), statusImage(":/green.png"));
            dialog()->update_room_buttons(false);
            QCOMPARE(enabledRoomButtons(), QStringList());
            QCOMPARE(statusIcon(), statusImage(":/red.png"));
        });
    }

    // Icons ---------------------------------------------------------------------------------------

    void theStatusIconTellsWhetherTheBodyIsTracked()
    {
        fixture().session([&] {
            QVERIFY(statusIcon().isNull());
            dialog()->update_room_buttons(true);
            QVERIFY(statusIcon().isNull());
            fixture().choose(DialogFixture::Plain);
            host().deliver("6d", bodyLine(1, "0.400"));
            QCOMPARE(statusIcon(), statusImage(":/green.png"));
            host().deliver("6d", bodyLine(1, "-1.000"));
            QCOMPARE(statusIcon(), statusImage(":/red.png"));
            host().deliver("6d", bodyLine(1, "1.000"));
            QCOMPARE(statusIcon(), statusImage(":/green.png"));
            host().deliver("6d", "6d 0");
            QCOMPARE(statusIcon(), statusImage(":/red.png"));
            fixture().choose(DialogFixture::Raw);
            QCOMPARE(statusIcon(), statusImage(":/grey.png"));
            host().deliver("6d", bodyLine(4, "1.000"));
            QCOMPARE(statusIcon(), statusImage(":/grey.png"));
            fixture().choose(-1);
            QVERIFY(statusIcon().isNull());
        });
        QVERIFY(statusImage(":/green.png") != statusImage(":/red.png"));
        QVERIFY(statusImage(":/grey.png") != statusImage(":/red.png"));
    }

    void aLockedDialogWearsTheLockUntilItIsOpenedUnlocked()
    {
        QPixmap hostPixmap(32, 32);
        hostPixmap.fill(Qt::magenta);
        fixture().parentWindow.setWindowIcon(QIcon(hostPixmap));
        const auto windowIcon = [this] { return shown(dialog()->windowIcon().pixmap(32)); };
        const QImage lock = shown(QIcon(":/lock.png").pixmap(32));
        QVERIFY(!lock.isNull());
        for (const bool locked : {false, true, false}) {
            host().parameters["config is_changeable"] = locked ? "no" : "yes";
            fixture().session([&] { QCOMPARE(windowIcon(), locked ? lock : shown(hostPixmap)); });
        }
    }

    // Discarding ----------------------------------------------------------------------------------

    void discardingGoesThroughTheChangedBodies_data()
    {
        QTest::addColumn<QString>("entryOfPlain");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<QStringList>("sent");
        QTest::addColumn<QStringList>("errors");
        const QString entry = "standard|2|calibrated|tt_std";
        const QString wand = moveCommand("standard b01", "10.000 0.000 0.000");
        const QString plain = moveCommand("standard b02", "20.000 0.000 0.000");
        const QString pen = moveCommand("standard b03", "32.500 25.000 12.500");
        const QString failed = "Error: Unable to set body transformation";
        QTest::newRow("all") << entry << 0 << QByteArray("quorel2 ok")
                             << QStringList{wand, plain, pen} << QStringList();
        QTest::newRow("number 0 ends it")
            << "standard|0|calibrated|tt_std" << 0 << QByteArray("quorel2 ok") << QStringList{wand}
            << QStringList{"Error: Wrong body ID. Cannot discard changes"};
        QTest::newRow("a failed exchange ends it")
            << entry << 2 << QByteArray() << QStringList{wand, plain} << QStringList{failed};
        QTest::newRow("another reply is told")
            << entry << 0 << QByteArray("quorel2 err no") << QStringList{wand, plain, pen}
            << QStringList{failed};
        QTest::newRow("an entry that cannot be read is left out")
            << "standard|2|calibrated" << 0 << QByteArray("quorel2 ok") << QStringList{wand, pen}
            << QStringList();
    }

    void discardingGoesThroughTheChangedBodies()
    {
        QFETCH(QString, entryOfPlain);
        QFETCH(int, status);
        QFETCH(QByteArray, reply);
        QFETCH(QStringList, sent);
        QFETCH(QStringList, errors);
        fixture().session([&] {
            // Not in the order of the list.
            fixture().choose(DialogFixture::Pen);
            fixture().click("set_origin_cog_button");
            fixture().click("apply_button");
            moveAndApply(DialogFixture::Wand, "10");
            moveAndApply(DialogFixture::Plain, "20");
            QCOMPARE(transforms().size(), 3);
            QVERIFY(host().errors().isEmpty());

            fixture()
                .child<QComboBox>("body_name")
                ->setItemData(DialogFixture::Plain, entryOfPlain);
            host().hook =
                [=](const FakeHost::Exchange &exchange) -> std::optional<FakeHost::Answer> {
                if (exchange.line.startsWith("quorel2 body transform standard b02"))
                    return FakeHost::Answer{status, reply, true};
                return std::nullopt;
            };
            host().clearRecords();
            fixture().answers = {QMessageBox::Yes};
            fixture().click("cancel_button");
            QVERIFY(!dialog()->isVisible());
        });
        QCOMPARE(withPlainZeros(transforms()), sent);
        QCOMPARE(host().errors(), errors);
    }

    // Keys ----------------------------------------------------------------------------------------

    void deleteNeedsASelectedMarkerOfABodyThatCanSpareIt_data()
    {
        QTest::addColumn<int>("minor");
        QTest::addColumn<int>("position");
        QTest::addColumn<int>("marker");
        QTest::addColumn<int>("boxes");
        QTest::newRow("possible") << 17 << int(DialogFixture::Wand) << 5 << 1;
        QTest::newRow("five markers") << 17 << int(DialogFixture::SpareProbe) << 0 << 1;
        QTest::newRow("older backend") << 16 << int(DialogFixture::Wand) << 5 << 0;
        QTest::newRow("no body") << 17 << -1 << -1 << 0;
        QTest::newRow("four markers") << 17 << int(DialogFixture::Plain) << 2 << 0;
        QTest::newRow("nothing selected") << 17 << int(DialogFixture::Wand) << -1 << 0;
    }

    void deleteNeedsASelectedMarkerOfABodyThatCanSpareIt()
    {
        QFETCH(int, minor);
        QFETCH(int, position);
        QFETCH(int, marker);
        QFETCH(int, boxes);
        host().setVersion(1, minor);
        fixture().session([&] {
            fixture().choose(position);
            if (marker >= 0)
                canvas()->select(canvas()->body().markers().at(marker));
            QCOMPARE(fixture().isEnabled("pushButton_deleteMarker"), boxes > 0);
            host().clearRecords();
            QTest::keyClick(dialog(), Qt::Key_Delete);
            // Each box is answered with Cancel.
            QCOMPARE(fixture().boxes.size(), boxes);
            QCOMPARE(host().transcript, QStringList());
        });
    }

    void theKeyYIsSwallowed_data()
    {
        QTest::addColumn<quint32>("nativeModifiers");
        QTest::addColumn<bool>("focusesTheList");
        QTest::newRow("alone") << quint32(0) << false;
        QTest::newRow("both Shift keys and Num Lock") << quint32(0x211) << true;
        QTest::newRow("without Num Lock") << quint32(0x011) << false;
        QTest::newRow("with one more") << quint32(0x213) << false;
    }

    void theKeyYIsSwallowed()
    {
        QFETCH(quint32, nativeModifiers);
        QFETCH(bool, focusesTheList);
        host().addBody("standard", 2, "Yoke", true, "tt_std", host().markers("standard", 2));
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            auto *list = fixture().child<QComboBox>("body_name");
            auto *help = fixture().child<QWidget>("help_button");
            help->setFocus();
            QTRY_VERIFY(help->hasFocus());
            FocusReasons focus(list);
            host().clearRecords();
            bool accepted = false;
            sendKey(Qt::Key_Y, "y", nativeModifiers, &accepted);
            QVERIFY(accepted);
            if (focusesTheList) {
                QTRY_VERIFY(list->hasFocus());
                QCOMPARE(focus.reasons, QList<Qt::FocusReason>{Qt::OtherFocusReason});
            } else {
                QVERIFY(help->hasFocus());
                QVERIFY(focus.reasons.isEmpty());
            }
            QCOMPARE(list->currentIndex(), int(DialogFixture::Wand));
            QVERIFY(host().transcript.isEmpty());
            QVERIFY(dialog()->isVisible());
        });
    }

    void otherKeysAreTheDialogsOwn()
    {
        fixture().session([&] {
            bool accepted = true;
            sendKey(Qt::Key_X, "x", 0x211, &accepted);
            QVERIFY(!accepted);
            QVERIFY(dialog()->isVisible());
            sendKey(Qt::Key_Escape, QString(), 0, &accepted);
            QVERIFY(!dialog()->isVisible());
            QCOMPARE(dialog()->result(), int(QDialog::Rejected));
        });
    }

    // Emission tab --------------------------------------------------------------------------------

    void oneEmissionDirectionIsGivenToAllMarkers()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            QCOMPARE(emissionLabels(), (QStringList{"1.00", "1.00", "1.00"}));
            host().clearRecords();
            auto *alpha = fixture().child<QDoubleSpinBox>("doubleSpinBox_alpha");
            alpha->setValue(45.0);
            fixture().child<QDoubleSpinBox>("doubleSpinBox_ez")->setValue(2.0);
            QCOMPARE(emissionLabels(), (QStringList{"0.000", "0.000", "1.000"}));
            QCOMPARE(emissionRecords(), sixTimes("0.000000 0.000000 1.000000, 45"));

            alpha->setValue(30.5);
            QCOMPARE(emissionLabels(), (QStringList{"0.000", "0.000", "1.000"}));
            QCOMPARE(emissionRecords(), sixTimes("0.000000 0.000000 1.000000, 30.5"));

            fixture().child<QDoubleSpinBox>("doubleSpinBox_ex")->setValue(-1.0);
            fixture().child<QDoubleSpinBox>("doubleSpinBox_ey")->setValue(2.0);
            QCOMPARE(emissionLabels(), (QStringList{"-0.333", "0.667", "0.667"}));
            QCOMPARE(emissionRecords(), sixTimes("-0.333333 0.666667 0.666667, 30.5"));

            // A body read anew has its own emissions again; only the angle brings these back.
            fixture().choose(DialogFixture::Plain);
            fixture().choose(DialogFixture::Wand);
            QVERIFY(emissionRecords() != sixTimes("-0.333333 0.666667 0.666667, 30.5"));
            alpha->setValue(31.0);
            QCOMPARE(emissionRecords(), sixTimes("-0.333333 0.666667 0.666667, 31"));

            QVERIFY(host().transcript.filter("set ").isEmpty());
            QVERIFY(host().transcript.filter("quorel2").isEmpty());
            QVERIFY(!fixture().isEnabled("apply_button"));
        });
    }

    void aDirectionOfZeroStaysZero()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().child<QDoubleSpinBox>("doubleSpinBox_alpha")->setValue(10.0);
            QCOMPARE(emissionLabels(), (QStringList{"0.000", "0.000", "0.000"}));
            QCOMPARE(emissionRecords(), sixTimes("0.000000 0.000000 0.000000, 10"));
        });
    }

    void theEmissionTabStaysAway()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            auto *tabs = fixture().child<QTabWidget>("tabWidget");
            const QStringList enabled = fixture().enabledControls();
            const QStringList emissions = emissionRecords();
            host().clearRecords();
            for (const bool enable : {true, false, true}) {
                dialog()->enableEmissionTab(enable);
                QCOMPARE(tabs->count(), 2);
                QCOMPARE(tabs->tabText(0), QStringLiteral("&General"));
                QCOMPARE(tabs->tabText(1), QStringLiteral("&Special"));
                QCOMPARE(tabs->currentIndex(), 0);
                QVERIFY(tabs->isTabEnabled(0) && tabs->isTabEnabled(1));
                QVERIFY(!fixture().child<QWidget>("doubleSpinBox_ex")->isVisible());
                QVERIFY(fixture().isItselfEnabled("doubleSpinBox_ex"));
                QCOMPARE(fixture().enabledControls(), enabled);
                QCOMPARE(emissionRecords(), emissions);
            }
            QVERIFY(host().transcript.isEmpty());
        });
    }

    // Menus ---------------------------------------------------------------------------------------

    void theMenusOfferTheViewsOptions()
    {
        fixture().makeDialog();
        QCOMPARE(describe(canvasMenu()->actions()),
                 QStringLiteral("Small markers [ ]\n"
                                "Colored markers [x]\n"
                                "Emissions [x]\n"
                                "Long axes [ ]\n"
                                "Show COG [ ]\n"
                                "-\n"
                                "Show XY plane [x]\n"
                                "Show YZ plane [ ]\n"
                                "Show XZ plane [ ]\n"
                                "-\n"
                                "Show room orientation [ ] (disabled)\n"
                                "-\n"
                                "Add line between markers (disabled)\n"
                                "Delete line between markers (disabled)\n"
                                "-\n"
                                "Data view"));
        QCOMPARE(describe(tableMenu()->actions()), QStringLiteral("Graphic view"));
        QCOMPARE(shownOptions(), (QStringList{"coloured", "emissions", "xy"}));
        for (const QAction *action : canvasMenu()->actions() + tableMenu()->actions()) {
            if (!action->isSeparator())
                QCOMPARE(action->parent(), static_cast<QObject *>(dialog()));
        }
    }

    void eachToggleSwitchesItsOptionAndBack_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QStringList>("toggled");
        QTest::newRow("small") << "Small markers"
                               << QStringList{"small", "coloured", "emissions", "xy"};
        QTest::newRow("coloured") << "Colored markers" << QStringList{"emissions", "xy"};
        QTest::newRow("emissions") << "Emissions" << QStringList{"coloured", "xy"};
        QTest::newRow("long axes")
            << "Long axes" << QStringList{"coloured", "emissions", "long axes", "xy"};
        QTest::newRow("cog") << "Show COG" << QStringList{"coloured", "emissions", "cog", "xy"};
        QTest::newRow("xy") << "Show XY plane" << QStringList{"coloured", "emissions"};
        QTest::newRow("yz") << "Show YZ plane" << QStringList{"coloured", "emissions", "xy", "yz"};
        QTest::newRow("xz") << "Show XZ plane" << QStringList{"coloured", "emissions", "xy", "xz"};
        QTest::newRow("room") << "Show room orientation"
                              << QStringList{"coloured", "emissions", "xy", "room"};
    }

    void eachToggleSwitchesItsOptionAndBack()
    {
        QFETCH(QString, entry);
        QFETCH(QStringList, toggled);
        const QStringList initial = {"coloured", "emissions", "xy"};
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            goOnline();
            host().clearRecords();
            QAction *action = fixture().menuAction(entry);
            const bool checked = action->isChecked();
            fixture().takeFromMenu(canvas(), entry);
            QCOMPARE(shownOptions(), toggled);
            QCOMPARE(action->isChecked(), !checked);
            fixture().takeFromMenu(canvas(), entry);
            QCOMPARE(shownOptions(), initial);
            QCOMPARE(action->isChecked(), checked);
            // Another body is shown with the same options.
            fixture().takeFromMenu(canvas(), entry);
            fixture().choose(DialogFixture::Plain);
            QCOMPARE(shownOptions(), toggled);
        });
        // They live as long as the dialog.
        fixture().session([&] { QCOMPARE(shownOptions(), toggled); });
    }

    void aToggleInvertsItsFlagWhateverTheCheckMarkSays()
    {
        fixture().makeDialog();
        fixture().menuAction("Small markers")->setChecked(true);
        QCOMPARE(shownOptions(), (QStringList{"coloured", "emissions", "xy"}));
        dialog()->toggled_small_markers();
        QCOMPARE(shownOptions(), (QStringList{"small", "coloured", "emissions", "xy"}));
        dialog()->toggled_small_markers();
        QCOMPARE(shownOptions(), (QStringList{"coloured", "emissions", "xy"}));
        QVERIFY(fixture().menuAction("Small markers")->isChecked());
    }

    void theRoomOrientationIsOfferedOnlyOnline()
    {
        fixture().session([&] {
            QAction *room = fixture().menuAction("Show room orientation");
            fixture().choose(DialogFixture::Wand);
            QVERIFY(!room->isEnabled());
            goOnline();
            QVERIFY(room->isEnabled());
            fixture().choose(DialogFixture::Plain);
            QVERIFY(room->isEnabled());
            goOnline();
            QVERIFY(!room->isEnabled());
            goOnline();
            QVERIFY(room->isEnabled());
            fixture().choose(DialogFixture::Raw);
            QVERIFY(!room->isEnabled());
        });
        fixture().session(
            [&] { QVERIFY(!fixture().menuAction("Show room orientation")->isEnabled()); });
    }

    void theRoomOrientationCanBeSwitchedOffline()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            host().clearRecords();
            const QStringList enabled = fixture().enabledControls();
            for (const bool visible : {true, false, true}) {
                dialog()->toggled_show_room_ori();
                QCOMPARE(canvas()->isRoomAxesVisible(), visible);
                QVERIFY(!canvas()->isOnline());
                QVERIFY(near(canvas()->roomMatrix().column(0), bsVector(1, 0, 0)));
                canvas()->updateGL();
            }
            QCOMPARE(fixture().enabledControls(), enabled);
            QVERIFY(host().transcript.isEmpty());
            QVERIFY(fixture().boxes.isEmpty());
        });
    }

    void theViewsAreSwitchedByTheirMenus()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            auto *stack = fixture().child<QStackedWidget>("stackedWidget");
            auto *table = fixture().child<QTableWidget>("tableWidget_data");
            auto *list = fixture().child<QComboBox>("body_name");
            QCOMPARE(stack->currentIndex(), 0);
            for (QWidget *place : {static_cast<QWidget *>(table->viewport()),
                                   static_cast<QWidget *>(stack->widget(1))}) {
                fixture().takeFromMenu(canvas(), "Data view");
                QCOMPARE(stack->currentIndex(), 1);
                QVERIFY(table->isVisible());
                QVERIFY(!canvas()->isVisible());
                QVERIFY(!fixture().isEnabled("reset_view_button"));
                list->setFocus();
                QTRY_VERIFY(list->hasFocus());
                FocusReasons focus(canvas());
                fixture().takeFromMenu(place, "Graphic view");
                QCOMPARE(stack->currentIndex(), 0);
                QVERIFY(canvas()->isVisible());
                QVERIFY(fixture().isEnabled("reset_view_button"));
                QTRY_VERIFY(canvas()->hasFocus());
                QVERIFY(focus.reasons.contains(Qt::OtherFocusReason));
            }
        });
    }

    // View ----------------------------------------------------------------------------------------

    void resettingTheViewGoesBackToTheStart()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            canvas()->rotateView(20, 30, 40);
            canvas()->translateView(5, 6, 7);
            canvas()->saveCurrentView();
            QVERIFY(differs(canvas()->camera().matrix(), bsMatrix::identity()));
            fixture().click("reset_view_button");
            bsMatrix start = bsMatrix::identity();
            start.setColumn(3, bsVector(0, 0, -300), 1.0);
            QVERIFY(!differs(canvas()->camera().matrix(), start));
            QVERIFY(!differs(canvas()->camera().savedView().toMatrix(), start));
        });
    }

    void resettingTheViewWhileItIsTurnedKeepsItsPosition()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            canvas()->translateView(5, 6, 7);
            canvas()->rotateView(20, 30, 40);
            canvas()->saveCurrentView();
            canvas()->rotateViewBegin();
            dialog()->on_reset_view_button_clicked();
            bsMatrix turnedBack = bsMatrix::identity();
            turnedBack.setColumn(3, bsVector(5, 6, -293), 1.0);
            QVERIFY(!differs(canvas()->camera().matrix(), turnedBack));
            canvas()->rotateViewEnd();
            dialog()->on_reset_view_button_clicked();
            QVERIFY(near(canvas()->camera().view().position, bsVector(0, 0, -300)));
        });
    }

    void theViewWheelsMoveTheCamera()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            auto *position = fixture().child<xyzWidget>("pos_xyzWidget");
            auto *orientation = fixture().child<xyzWidget>("ori_xyzWidget");
            const auto values = [](const xyzWidget *group) {
                return bsVector(group->xValue(), group->yValue(), group->zValue());
            };
            QSignalSpy store(canvas(), &GLCanvas::storeViewRequest);

            bsDoubleWidget *y = position->findChildren<bsDoubleWidget *>().at(1);
            y->adjustValue(7.0);
            QVERIFY(near(canvas()->camera().view().position, bsVector(0, 7, -300)));
            y->adjustValue(5.0);
            QVERIFY(near(canvas()->camera().view().position, bsVector(0, 12, -300)));
            QVERIFY(near(canvas()->camera().savedView().position, bsVector(0, 0, -300)));
            QCOMPARE(store.count(), 0);
            QVERIFY(!canvas()->isDragging());
            y->finishEditing();
            QCOMPARE(store.count(), 1);
            QVERIFY(near(canvas()->camera().view().position, bsVector(0, 12, -300)));
            QVERIFY(near(canvas()->camera().savedView().position, bsVector(0, 12, -300)));
            QVERIFY(near(values(position), bsVector()));

            bsDoubleWidget *z = orientation->findChildren<bsDoubleWidget *>().at(2);
            z->adjustValue(30.0);
            QVERIFY(canvas()->isDragging());
            const bsVector turned(std::sqrt(3.0) / 2.0, 0.5, 0.0);
            QVERIFY(near(canvas()->camera().matrix().column(0), turned));
            QVERIFY(near(canvas()->camera().savedView().toMatrix().column(0), bsVector(1, 0, 0)));
            // What stands in the other group is stored with it.
            position->setValues(1, 2, 3);
            QVERIFY(near(canvas()->camera().view().position, bsVector(1, 14, -297)));
            z->finishEditing();
            QCOMPARE(store.count(), 2);
            QVERIFY(!canvas()->isDragging());
            QVERIFY(near(values(position), bsVector()));
            QVERIFY(near(values(orientation), bsVector()));
            for (const bsPose &pose : {canvas()->camera().view(), canvas()->camera().savedView()}) {
                QVERIFY(near(pose.toMatrix().column(0), turned));
                QVERIFY(near(pose.position, bsVector(1, 14, -297)));
            }
            QCOMPARE(canvas()->body().undoCount(), 0);
            QVERIFY(!fixture().isEnabled("apply_button"));
        });
    }

    void theCanvasMovesTheViewWheels()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            auto *position = fixture().child<xyzWidget>("pos_xyzWidget");
            auto *orientation = fixture().child<xyzWidget>("ori_xyzWidget");
            emit canvas()->translateViewRequest(1, 2, 3);
            emit canvas()->translateViewRequest(1, 0, -4);
            QCOMPARE(position->xValue(), 2.0);
            QCOMPARE(position->yValue(), 2.0);
            QCOMPARE(position->zValue(), -1.0);
            QVERIFY(near(canvas()->camera().view().position, bsVector(2, 2, -301)));
            emit canvas()->rotateViewRequest(0, 0, 90);
            QCOMPARE(orientation->zValue(), 90.0);
            QVERIFY(near(canvas()->camera().matrix().column(0), bsVector(0, 1, 0)));
        });
    }

    // Editing -------------------------------------------------------------------------------------

    void aSelectedMarkerCanBecomeTheOrigin()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Plain);
            QCOMPARE(fixture().tableRows(),
                     (QStringList{"1 0.00 0.00 0.00", "2 100.00 0.00 0.00", "3 0.00 60.00 0.00",
                                  "4 30.00 40.00 50.00"}));
            QVERIFY(!fixture().isEnabled("set_origin_button"));
            canvas()->select(canvas()->body().markers().at(3));
            QVERIFY(fixture().isEnabled("set_origin_button"));
            QVERIFY(!fixture().isEnabled("apply_button"));
            fixture().click("set_origin_button");
            QCOMPARE(fixture().tableRows(),
                     (QStringList{"1 -30.00 -40.00 -50.00", "2 70.00 -40.00 -50.00",
                                  "3 -30.00 20.00 -50.00", "4 0.00 0.00 0.00"}));
            QVERIFY(fixture().isEnabled("apply_button"));
            QVERIFY(fixture().isEnabled("undo_button"));
            fixture().click("apply_button");
            QCOMPARE(withPlainZeros(transforms()),
                     QStringList{moveCommand("standard b02", "-30.000 -40.000 -50.000")});
        });
    }

    void afterAnApplyTheBodyCanBeEditedWhateverItsType()
    {
        fixture().session([&] {
            auto *tabs = fixture().child<QTabWidget>("tabWidget");
            fixture().choose(DialogFixture::Tube);
            QVERIFY(!tabs->isTabEnabled(0));
            QVERIFY(!fixture().isItselfEnabled("body_ori_xyzWidget"));
            dialog()->update_after_apply(DialogFixture::Tube);
            QVERIFY(tabs->isTabEnabled(0) && tabs->isTabEnabled(1));
            QCOMPARE(fixture().enabledControls(),
                     (QStringList{"body_name", "body_pos_xyzWidget", "body_ori_xyzWidget",
                                  "set_origin_cog_button", "pos_xyzWidget", "ori_xyzWidget",
                                  "reset_view_button", "online_checkbox", "help_button",
                                  "ok_button", "cancel_button"}));
            QCOMPARE(fixture().child<QLabel>("loadBody")->text(),
                     QStringLiteral("<b><font color=gray>Bod&y has cylinder marker!</font></b>"));
        });
    }
};

QUOREL2_TEST_MAIN(TestDialogStates)
#include "tst_DialogStates.moc"
