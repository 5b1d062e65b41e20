#include "DialogTest.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <model/abcBody.h>
#include <model/abcLine.h>
#include <model/abcMarker.h>
#include <tests/model/GeometryOracle.h>
#include <tests/support/EventCounter.h>
#include <tests/support/TestMain.h>
#include <tests/view/CanvasFixture.h>
#include <view/GLCanvas.h>

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QHeaderView>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTabBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QTimer>
#include <QWheelEvent>
#include <QtTest>

#include <cmath>
#include <vector>

namespace {

constexpr double kExact = 1e-9;
/// The table shows two decimals.
constexpr double kShown = 0.0051;
/// Data lines carry a rotation with six decimals.
constexpr double kPrintedRotation = 1e-5;

Eigen::Matrix4d moved(double x, double y, double z)
{
    return Oracle::rigid(Eigen::Matrix3d::Identity(), Eigen::Vector3d(x, y, z));
}

Eigen::Matrix4d turned(double xDeg, double yDeg, double zDeg)
{
    return Oracle::rigid(Oracle::euler(xDeg, yDeg, zDeg), Eigen::Vector3d::Zero());
}

/// Takes the base @p base to the axis @p set along @p direction, @p keep as near as it gets to
/// where it was.
Eigen::Matrix4d alongAxis(const Eigen::Matrix4d &base, int set, int keep,
                          const Eigen::Vector3d &direction)
{
    Eigen::Matrix3d axes;
    axes.col(set) = direction.normalized();
    const Eigen::Vector3d kept = base.block<3, 1>(0, keep);
    axes.col(keep) = (kept - kept.dot(axes.col(set)) * axes.col(set)).normalized();
    const int third = 3 - set - keep;
    const int next = (third + 1) % 3;
    axes.col(third) = axes.col(next).cross(axes.col((next + 1) % 3));
    return Oracle::rigid(axes, Oracle::translation(base));
}

struct Triple {
    int origin;
    int far;
    int third;
};

/// The longest distance, and the shortest one that has an end in common with it.
Triple tripleOf(const QVector<bsVector> &markers)
{
    const auto length = [&](int a, int b) { return (markers.at(a) - markers.at(b)).length(); };
    int ends[2] = {0, 1};
    for (int a = 0; a < markers.size(); ++a) {
        for (int b = a + 1; b < markers.size(); ++b) {
            if (length(a, b) > length(ends[0], ends[1])) {
                ends[0] = a;
                ends[1] = b;
            }
        }
    }
    Triple triple{-1, -1, -1};
    double shortest = length(ends[0], ends[1]);
    for (const int end : {0, 1}) {
        for (int other = 0; other < markers.size(); ++other) {
            if (other != ends[0] && other != ends[1] && length(ends[end], other) < shortest) {
                shortest = length(ends[end], other);
                triple = {ends[end], ends[1 - end], other};
            }
        }
    }
    return triple;
}

/// X from the origin to the far marker, Y towards the third.
Eigen::Matrix4d frameOf(const QVector<bsVector> &markers, const Triple &triple)
{
    const Eigen::Vector3d origin = vector(markers.at(triple.origin));
    const Eigen::Vector3d toThird = vector(markers.at(triple.third)) - origin;
    Eigen::Matrix3d axes;
    axes.col(0) = (vector(markers.at(triple.far)) - origin).normalized();
    axes.col(1) = (toThird - toThird.dot(axes.col(0)) * axes.col(0)).normalized();
    axes.col(2) = axes.col(0).cross(axes.col(1));
    return Oracle::rigid(axes, origin);
}

/// A "6d" line in which the body is tracked with this rotation.
QByteArray trackedLine(int id, const Eigen::Matrix3d &rotation)
{
    QByteArray line = "6d 1 [" + QByteArray::number(id) + " 1.000][10 20 30 0 0 0][";
    for (int i = 0; i < 9; ++i)
        line += (i > 0 ? " " : "") + QByteArray::number(rotation(i % 3, i / 3), 'f', 6);
    return line + "]";
}

void sendMouse(QWidget *widget, QEvent::Type type, const QPoint &position, Qt::MouseButton button,
               Qt::KeyboardModifiers modifiers)
{
    const Qt::MouseButtons buttons = type == QEvent::MouseButtonRelease ? Qt::NoButton : button;
    QMouseEvent event(type, position, widget->mapToGlobal(position),
                      type == QEvent::MouseMove ? Qt::NoButton : button, buttons, modifiers);
    QApplication::sendEvent(widget, &event);
}

void drag(QWidget *widget, const QPoint &by, Qt::MouseButton button)
{
    const QPoint from = widget->rect().center();
    sendMouse(widget, QEvent::MouseButtonPress, from, button, Qt::ControlModifier);
    sendMouse(widget, QEvent::MouseMove, from + by / 2, button, Qt::ControlModifier);
    sendMouse(widget, QEvent::MouseMove, from + by, button, Qt::ControlModifier);
    sendMouse(widget, QEvent::MouseButtonRelease, from + by, button, Qt::ControlModifier);
}

struct BufferSwap : QGLWidget {
    static void setAutomatic(QGLWidget *widget, bool automatic)
    {
        (widget->*(&BufferSwap::setAutoBufferSwap))(automatic);
    }
};

/// Keeps what a canvas draws where it can be read, until the end of its life.
class KeptPicture {
public:
    explicit KeptPicture(GLCanvas *canvas)
        : m_canvas(canvas)
    {
        BufferSwap::setAutomatic(m_canvas, false);
    }
    ~KeptPicture() { BufferSwap::setAutomatic(m_canvas, true); }

    QImage image() const
    {
        return m_canvas->grabFrameBuffer().convertToFormat(QImage::Format_RGB32);
    }
    /// Replaces the picture by something that the canvas never draws.
    void spoil()
    {
        m_canvas->makeCurrent();
        m_canvas->qglClearColor(Qt::magenta);
        glClear(GL_COLOR_BUFFER_BIT);
        m_canvas->qglClearColor(Qt::black);
    }
    bool isSpoilt() const { return image().pixelColor(2, 2) == QColor(Qt::magenta); }

private:
    Q_DISABLE_COPY(KeptPicture)

    GLCanvas *m_canvas;
};

} // namespace

class TestDialogOperations : public DialogTest {
    Q_OBJECT

private:
    const abcBody &body() { return canvas()->body(); }
    Eigen::Matrix4d base() { return Oracle::matrix(body().baseMatrix()); }

    /// Where a point of the stored frame is seen from the initial camera.
    QPoint place(const Eigen::Vector3d &point)
    {
        Projection projection(canvas()->size());
        projection.pivot = centre(body().markerPositions());
        return projection.point(point.x(), point.y(), point.z()).toPoint();
    }
    void clickMarker(int index)
    {
        QTest::mouseClick(canvas(), Qt::LeftButton, Qt::NoModifier,
                          place(vector(body().markerPositions().at(index))));
    }
    QVector<int> selectedMarkers()
    {
        QVector<int> indices;
        for (const abcObject *object : canvas()->selection()) {
            int index = body().markers().size() - 1;
            while (index >= 0 && body().markers().at(index) != object)
                --index;
            indices.append(index);
        }
        return indices;
    }

    void clickTab(int index)
    {
        auto *bar = fixture().child<QTabWidget>("tabWidget")->tabBar();
        QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier, bar->tabRect(index).center());
        QCOMPARE(fixture().child<QTabWidget>("tabWidget")->currentIndex(), index);
    }
    void clickSpecial(const char *button)
    {
        clickTab(1);
        fixture().click(button);
        clickTab(0);
    }

    /// Presses the button for the axis and answers the dialog that comes, by keys and mouse.
    void setAxis(char set, char keep, const char *button)
    {
        bool answered = false;
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&] {
            QWidget *modal = QApplication::activeModalWidget();
            if (!modal || !modal->inherits("SetAxisDialog") || !modal->isVisible())
                return;
            timer.stop();
            const auto choose = [modal](const char *name, char axis) {
                auto *list = modal->findChild<QComboBox *>(QLatin1String(name));
                list->setFocus();
                QTest::keyClick(list, axis);
                QCOMPARE(list->currentText(), QString(QLatin1Char(axis)));
            };
            choose("axisToSetComboBox", set);
            choose("axisToPreserveComboBox", keep);
            answered = true;
            QTest::mouseClick(modal->findChild<QPushButton *>(QLatin1String(button)),
                              Qt::LeftButton);
        });
        timer.start(5);
        fixture().click("set_axis_button");
        QVERIFY(answered);
    }

    /// How far the base matrix is from @p expected.
    double baseError(const Eigen::Matrix4d &expected)
    {
        return Oracle::distance(body().baseMatrix(), expected);
    }
    /// True if the table shows the stored markers as a body with this base has them.
    bool tableShows(const QVector<bsVector> &markers, const Eigen::Matrix4d &expectedBase)
    {
        const QStringList rows = fixture().tableRows();
        if (rows.size() != markers.size())
            return false;
        const Eigen::Matrix4d toBody = expectedBase.inverse();
        for (int row = 0; row < rows.size(); ++row) {
            const QStringList cells = rows.at(row).split(QLatin1Char(' '));
            const Eigen::Vector4d p = toBody * vector(markers.at(row)).homogeneous();
            if (cells.size() != 4 || cells.first() != QString::number(row + 1))
                return false;
            for (int i = 0; i < 3; ++i) {
                if (std::fabs(cells.at(i + 1).toDouble() - p[i]) > kShown)
                    return false;
            }
        }
        return true;
    }
    /// True if undo, redo and apply are enabled as the history of the body in the view says.
    bool buttonsTellTheTruth()
    {
        return fixture().isEnabled("undo_button") == (body().undoCount() > 0) &&
               fixture().isEnabled("redo_button") == (body().redoCount() > 0) &&
               fixture().isEnabled("apply_button") == (body().undoCount() > 0);
    }

    /// Everything that a key could change.
    QStringList state()
    {
        QStringList lines = fixture().enabledControls();
        for (const QDoubleSpinBox *box : dialog()->findChildren<QDoubleSpinBox *>())
            lines.append(box->text());
        for (const QWidget *wheel : dialog()->findChildren<QWidget *>()) {
            if (wheel->inherits("QwtWheel"))
                lines.append(wheel->property("value").toString());
        }
        lines.append(QString::number(fixture().child<QComboBox>("body_name")->currentIndex()));
        lines.append(QString::number(fixture().child<QTabWidget>("tabWidget")->currentIndex()));
        lines.append(
            QString::number(fixture().child<QStackedWidget>("stackedWidget")->currentIndex()));
        lines.append(QString::number(fixture().child<QCheckBox>("online_checkbox")->isChecked()));
        lines += fixture().tableRows();
        for (const bsMatrix &matrix :
             {body().baseMatrix(), body().pendingPose().toMatrix(), canvas()->camera().matrix()}) {
            for (const double element : matrix.m)
                lines.append(QString::number(element, 'g', 17));
        }
        lines.append(QStringLiteral("%1 %2").arg(body().undoCount()).arg(body().redoCount()));
        lines.append(QString::number(canvas()->selection().size()));
        lines.append(QString::number(dialog()->isVisible()));
        lines += host().transcript;
        lines.append(QString::number(fixture().boxes.size()));
        lines.append(QString::number(QApplication::activePopupWidget() != nullptr));
        lines.append(QApplication::activeModalWidget()->metaObject()->className());
        return lines;
    }
    /// The visible, enabled widgets of the dialog that can have the focus.
    QVector<QWidget *> focusableWidgets()
    {
        QVector<QWidget *> widgets;
        for (QWidget *widget : dialog()->findChildren<QWidget *>()) {
            if (widget->window() == dialog() && widget->isVisible() && widget->isEnabled() &&
                widget->focusPolicy() != Qt::NoFocus && !widget->focusProxy())
                widgets.append(widget);
        }
        return widgets;
    }
    static QByteArray describe(const QWidget *widget)
    {
        QString text = QLatin1String(widget->metaObject()->className());
        for (const QWidget *named = widget; named; named = named->parentWidget()) {
            if (!named->objectName().isEmpty())
                text += QLatin1Char(' ') + named->objectName();
        }
        return text.toLocal8Bit();
    }
    /// Runs @p script on each tab and in both views.
    void onEveryPage(const std::function<void()> &script)
    {
        for (const bool dataView : {false, true}) {
            if (dataView)
                dialog()->toggled_switch_view();
            for (const int tab : {0, 1}) {
                clickTab(tab);
                script();
            }
        }
    }

private slots:
    // An axis through two markers -----------------------------------------------------------------

    void anAxisIsLaidThroughTheTwoChosenMarkers_data()
    {
        QTest::addColumn<bool>("swapped");
        QTest::newRow("as they were chosen") << false;
        QTest::newRow("the second one clicked again") << true;
    }

    void anAxisIsLaidThroughTheTwoChosenMarkers()
    {
        QFETCH(bool, swapped);
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            const QVector<bsVector> markers = host().markers("standard", 1);
            fixture().typeValue("body_ori_xyzWidget", 1, "35\r");
            fixture().typeValue("body_pos_xyzWidget", 0, "12\r");
            const Eigen::Matrix4d before = turned(0, 35, 0) * moved(12, 0, 0);
            QVERIFY(baseError(before) < kExact);

            clickMarker(3);
            QCOMPARE(selectedMarkers(), QVector<int>{3});
            QVERIFY(!fixture().isEnabled("set_axis_button"));
            clickMarker(5);
            QCOMPARE(selectedMarkers(), (QVector<int>{3, 5}));
            if (swapped) {
                clickMarker(5);
                QCOMPARE(selectedMarkers(), (QVector<int>{5, 3}));
            }
            setAxis('Z', 'X', "pushButton_ok");
            const Eigen::Vector3d direction =
                (vector(markers.at(5)) - vector(markers.at(3))) * (swapped ? -1.0 : 1.0);
            const Eigen::Matrix4d after = alongAxis(before, Z, X, direction);
            QVERIFY(baseError(after) < kExact);
            QVERIFY(tableShows(markers, after));
            QCOMPARE(body().undoCount(), 3);
            QVERIFY(buttonsTellTheTruth());
            QCOMPARE(selectedMarkers(), (swapped ? QVector<int>{5, 3} : QVector<int>{3, 5}));

            fixture().click("undo_button");
            QVERIFY(baseError(before) < kExact);
            QVERIFY(tableShows(markers, before));
            fixture().click("redo_button");
            QVERIFY(baseError(after) < kExact);
            QVERIFY(tableShows(markers, after));

            fixture().click("apply_button");
            QCOMPARE(transforms().size(), 1);
            const Eigen::Matrix4d written = Oracle::matrix(transformOf(transforms().first()));
            QVERIFY((written - after.inverse()).cwiseAbs().maxCoeff() < 6e-4);
            const QVector<bsVector> stored = host().markers("standard", 1);
            // The axis is what it was asked to be, in the markers that the controller now has.
            const Eigen::Vector3d axis =
                vector(stored.at(swapped ? 3 : 5)) - vector(stored.at(swapped ? 5 : 3));
            QVERIFY((axis.normalized() - Eigen::Vector3d::UnitZ()).norm() < 1e-5);
            QVERIFY(tableShows(stored, Eigen::Matrix4d::Identity()));
        });
    }

    void everyPairOfAxesReachesTheBody_data()
    {
        QTest::addColumn<int>("set");
        QTest::addColumn<int>("keep");
        for (int set = X; set <= Z; ++set) {
            for (int keep = X; keep <= Z; ++keep) {
                if (set != keep)
                    QTest::addRow("%c, keeping %c", 'X' + set, 'X' + keep) << set << keep;
            }
        }
    }

    void everyPairOfAxesReachesTheBody()
    {
        QFETCH(int, set);
        QFETCH(int, keep);
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            const QVector<bsVector> markers = host().markers("standard", 1);
            clickMarker(4);
            clickMarker(3);
            setAxis(static_cast<char>('X' + set), static_cast<char>('X' + keep), "pushButton_ok");
            const Eigen::Matrix4d after = alongAxis(Eigen::Matrix4d::Identity(), set, keep,
                                                    vector(markers.at(3)) - vector(markers.at(4)));
            QVERIFY(baseError(after) < kExact);
            QVERIFY(tableShows(markers, after));
        });
    }

    void cancellingTheAxisCommitsNothing()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 0, "12\r");
            fixture().click("undo_button");
            const QStringList rows = fixture().tableRows();
            clickMarker(0);
            clickMarker(1);
            QSignalSpy store(canvas(), &GLCanvas::storeBodyRequest);
            setAxis('Z', 'Y', "pushButton_cancel");
            QCOMPARE(store.count(), 0);
            QVERIFY(baseError(Eigen::Matrix4d::Identity()) == 0.0);
            QCOMPARE(fixture().tableRows(), rows);
            QCOMPARE(body().undoCount(), 0);
            QCOMPARE(body().redoCount(), 1);
            QVERIFY(!fixture().isEnabled("undo_button"));
            QVERIFY(fixture().isEnabled("redo_button"));
            // The button that the dialog enables all the same writes nothing.
            host().clearRecords();
            fixture().click("apply_button");
            QCOMPARE(host().transcript, QStringList());
            QVERIFY(!fixture().isEnabled("apply_button"));
        });
    }

    // The origin on a marker ----------------------------------------------------------------------

    void theOriginIsPutOnTheMarkerThatWasClicked()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            const QVector<bsVector> markers = host().markers("standard", 1);
            fixture().typeValue("body_ori_xyzWidget", 2, "50\r");
            QVERIFY(!fixture().isEnabled("set_origin_button"));
            clickMarker(4);
            QCOMPARE(selectedMarkers(), QVector<int>{4});
            fixture().click("set_origin_button");
            Eigen::Matrix4d expected =
                Oracle::rigid(Oracle::rotation(turned(0, 0, 50)), vector(markers.at(4)));
            QVERIFY(baseError(expected) < kExact);
            QVERIFY(tableShows(markers, expected));
            QCOMPARE(body().undoCount(), 2);
            QVERIFY(buttonsTellTheTruth());

            // With two markers it is the first one that counts.
            clickMarker(4);
            clickMarker(1);
            clickMarker(1);
            QCOMPARE(selectedMarkers(), (QVector<int>{1, 4}));
            fixture().click("set_origin_button");
            expected = Oracle::rigid(Oracle::rotation(expected), vector(markers.at(1)));
            QVERIFY(baseError(expected) < kExact);
            QVERIFY(tableShows(markers, expected));

            // A click beside the markers chooses none.
            QTest::mouseClick(canvas(), Qt::LeftButton, Qt::NoModifier, QPoint(3, 3));
            QVERIFY(canvas()->selection().isEmpty());
            QVERIFY(!fixture().isEnabled("set_origin_button"));
        });
    }

    // Presets -------------------------------------------------------------------------------------

    void dueToBodyLaysTheFrameThroughThreeMarkers_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<QString>("type");
        QTest::addColumn<int>("number");
        QTest::newRow("four markers") << int(DialogFixture::Plain) << "standard" << 2;
        QTest::newRow("six markers") << int(DialogFixture::Wand) << "standard" << 1;
        QTest::newRow("five markers") << int(DialogFixture::SpareProbe) << "vimbar" << 2;
    }

    void dueToBodyLaysTheFrameThroughThreeMarkers()
    {
        QFETCH(int, position);
        QFETCH(QString, type);
        QFETCH(int, number);
        fixture().session([&] {
            fixture().choose(position);
            const QVector<bsVector> markers = host().markers(type, number);
            fixture().typeValue("body_pos_xyzWidget", 1, "-33\r");
            fixture().typeValue("body_ori_xyzWidget", 0, "70\r");
            clickSpecial("pushButton_due_to_body");
            const Triple triple = tripleOf(markers);
            const Eigen::Matrix4d expected = frameOf(markers, triple);
            QVERIFY(baseError(expected) < kExact);
            QVERIFY(tableShows(markers, expected));
            QCOMPARE(body().undoCount(), 3);
            QVERIFY(buttonsTellTheTruth());
            QVERIFY(fixture().child<QLabel>("error_label")->text().isEmpty());
            const QStringList origin =
                fixture().tableRows().at(triple.origin).split(QLatin1Char(' '));
            for (int i = 1; i <= 3; ++i)
                QCOMPARE(std::fabs(origin.at(i).toDouble()), 0.0);

            // Once more there is nothing to do, and nothing to undo either.
            clickSpecial("pushButton_due_to_body");
            QCOMPARE(body().undoCount(), 3);
            fixture().click("undo_button");
            const Eigen::Matrix4d before = moved(0, -33, 0) * turned(70, 0, 0);
            QVERIFY(baseError(before) < kExact);
            QVERIFY(tableShows(markers, before));
        });
    }

    void theRoomPresetsTakeTheAxesOfTheRoom()
    {
        const Eigen::Matrix3d tracked = Oracle::euler(20, -35, 50);
        fixture().session([&] {
            fixture().choose(DialogFixture::Plain);
            const QVector<bsVector> markers = host().markers("standard", 2);
            fixture().typeValue("body_ori_xyzWidget", 2, "30\r");
            fixture().typeValue("body_pos_xyzWidget", 0, "8\r");
            const Eigen::Matrix4d before = turned(0, 0, 30) * moved(8, 0, 0);
            goOnline();
            host().deliver("6d", trackedLine(1, tracked));
            QTRY_VERIFY(canvas()->isTracked());

            clickSpecial("pushButton_due_to_room");
            const Eigen::Matrix4d inCog = Oracle::rigid(tracked.transpose(), centre(markers));
            QVERIFY(baseError(inCog) < kPrintedRotation);
            QVERIFY(tableShows(markers, inCog));
            QCOMPARE(body().undoCount(), 3);
            fixture().click("undo_button");
            QVERIFY(baseError(before) < kExact);
            QVERIFY(tableShows(markers, before));

            clickSpecial("pushButton_due_to_room_0");
            const Eigen::Matrix4d inMarker =
                Oracle::rigid(tracked.transpose(), vector(markers.at(tripleOf(markers).origin)));
            QVERIFY(baseError(inMarker) < kPrintedRotation);
            QVERIFY(tableShows(markers, inMarker));
            QCOMPARE(body().undoCount(), 3);
            QCOMPARE(body().redoCount(), 0);
            QVERIFY(buttonsTellTheTruth());
            fixture().click("undo_button");

            fixture().click("adjust_axes_to_room_button");
            const Eigen::Matrix4d axesOnly =
                Oracle::rigid(tracked.transpose(), Oracle::translation(before));
            QVERIFY(baseError(axesOnly) < kPrintedRotation);
            QVERIFY(tableShows(markers, axesOnly));
        });
    }

    void withoutABodyThePresetsSayThatNoneIsShown()
    {
        fixture().session([&] {
            auto *error = fixture().child<QLabel>("error_label");
            for (const auto preset : {&BodyAdjustmentDialog::on_pushButton_due_to_body_clicked,
                                      &BodyAdjustmentDialog::on_pushButton_due_to_room_clicked,
                                      &BodyAdjustmentDialog::on_pushButton_due_to_room_0_clicked}) {
                error->clear();
                (dialog()->*preset)();
                QCOMPARE(error->text(), QStringLiteral("No body is shown."));
                QVERIFY(!fixture().isEnabled("apply_button"));
            }
        });
    }

    void offlineTheRoomIsTheStoredFrameAndNobodyIsWarned()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            dialog()->on_pushButton_due_to_room_clicked();
            QCOMPARE(body().undoCount(), 1);
            QVERIFY(!fixture().child<QLabel>("error_label")->isVisible());
            dialog()->on_adjust_axes_to_room_button_clicked();
            QCOMPARE(body().undoCount(), 1);
        });
    }

    void aRoomPresetWithoutAnOriginChangesNothingAndSaysSo()
    {
        // All distances are equal.
        const QVector<bsVector> markers = {
            {40, 40, 40}, {40, -40, -40}, {-40, 40, -40}, {-40, -40, 40}};
        host().addBody("standard", 2, "", true, "tt_std", markers);
        fixture().session([&] {
            fixture().choose(DialogFixture::Plain);
            goOnline();
            host().deliver("6d", trackedLine(1, Oracle::euler(20, -35, 50)));
            QTRY_VERIFY(canvas()->isTracked());
            auto *error = fixture().child<QLabel>("error_label");
            QSignalSpy store(canvas(), &GLCanvas::storeBodyRequest);
            for (const bool edited : {false, true}) {
                if (edited)
                    fixture().typeValue("body_pos_xyzWidget", 2, "5\r");
                const Eigen::Matrix4d before = base();
                store.clear();
                clickSpecial("pushButton_due_to_room_0");
                QCOMPARE(store.count(), 0);
                QVERIFY(baseError(before) == 0.0);
                QVERIFY(!differs(body().pendingPose().toMatrix(), bsMatrix::identity()));
                QVERIFY(tableShows(markers, before));
                QCOMPARE(body().undoCount(), edited ? 1 : 0);
                QVERIFY(buttonsTellTheTruth());
                QVERIFY(error->isVisible());
                QVERIFY(error->text().contains("three markers"));
            }
            // What needs no triple still works, and the text goes.
            clickSpecial("pushButton_due_to_room");
            QCOMPARE(body().undoCount(), 2);
            QVERIFY(!error->isVisible());
            QVERIFY(error->text().isEmpty());
        });
    }

    void axesAreAdjustedToTheRoomOnlyOnline()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Plain);
            QSignalSpy store(canvas(), &GLCanvas::storeBodyRequest);
            host().deliver("6d", trackedLine(1, Oracle::euler(20, -35, 50)));
            host().clearRecords();
            dialog()->on_adjust_axes_to_room_button_clicked();
            QCOMPARE(store.count(), 0);
            QVERIFY(baseError(Eigen::Matrix4d::Identity()) == 0.0);
            QCOMPARE(body().undoCount(), 0);
            QVERIFY(buttonsTellTheTruth());
            QVERIFY(!fixture().isEnabled("apply_button"));
            QCOMPARE(host().transcript, QStringList());
        });
    }

    void aLockedBodyTakesNoOperationOnItsMarkers_data()
    {
        QTest::addColumn<bool>("locked");
        QTest::newRow("locked") << true;
        QTest::newRow("not locked") << false;
    }

    void aLockedBodyTakesNoOperationOnItsMarkers()
    {
        QFETCH(bool, locked);
        host().parameters["config is_changeable"] = locked ? "no" : "yes";
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            clickMarker(1);
            QCOMPARE(selectedMarkers(), QVector<int>{1});
            QCOMPARE(fixture().isItselfEnabled("set_origin_button"), !locked);
            QVERIFY(!fixture().isItselfEnabled("set_axis_button"));
            QCOMPARE(fixture().isItselfEnabled("pushButton_deleteMarker"), !locked);
            clickMarker(4);
            QCOMPARE(selectedMarkers(), (QVector<int>{1, 4}));
            QCOMPARE(fixture().isItselfEnabled("set_origin_button"), !locked);
            QCOMPARE(fixture().isItselfEnabled("set_axis_button"), !locked);
        });
    }

    // Lines ---------------------------------------------------------------------------------------

    void aLineIsDrawnAndDeletedFromTheMenu()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            QAction *add = fixture().menuAction("Add line between markers");
            QAction *remove = fixture().menuAction("Delete line between markers");
            QVERIFY(!add->isEnabled());
            clickMarker(4);
            QVERIFY(!add->isEnabled());
            clickMarker(5);
            QVERIFY(add->isEnabled());
            QVERIFY(!remove->isEnabled());
            fixture().takeFromMenu(canvas(), "Add line between markers");
            QCOMPARE(body().lines().size(), 1);
            QCOMPARE(body().lines().first()->firstMarker(), body().markers().at(4));
            QCOMPARE(body().lines().first()->secondMarker(), body().markers().at(5));
            QCOMPARE(selectedMarkers(), (QVector<int>{4, 5}));
            QVERIFY(!add->isEnabled());
            // Not in the other direction either.
            clickMarker(5);
            QCOMPARE(selectedMarkers(), (QVector<int>{5, 4}));
            QVERIFY(!add->isEnabled());
            QVERIFY(!remove->isEnabled());
            clickMarker(0);
            clickMarker(3);
            QVERIFY(add->isEnabled());
            fixture().takeFromMenu(canvas(), "Add line between markers");
            QCOMPARE(body().lines().size(), 2);

            const QVector<bsVector> markers = body().markerPositions();
            const QPoint onLine = place(vector(markers.at(4)) * 0.6 + vector(markers.at(5)) * 0.4);
            QTest::mouseClick(canvas(), Qt::LeftButton, Qt::NoModifier, onLine);
            QCOMPARE(canvas()->selection(), QList<const abcObject *>{body().lines().first()});
            QVERIFY(remove->isEnabled());
            QVERIFY(!add->isEnabled());
            QVERIFY(!fixture().isEnabled("set_origin_button"));
            const abcLine *other = body().lines().last();
            fixture().takeFromMenu(canvas(), "Delete line between markers");
            QCOMPARE(body().lines(), QList<abcLine *>{const_cast<abcLine *>(other)});
            QVERIFY(canvas()->selection().isEmpty());
            QVERIFY(!remove->isEnabled());
            // The first pair may be joined once more.
            clickMarker(5);
            clickMarker(4);
            QVERIFY(add->isEnabled());
            // A line is no change of the body.
            QCOMPARE(body().undoCount(), 0);
            QVERIFY(buttonsTellTheTruth());
        });
    }

    // The view ------------------------------------------------------------------------------------

    void bothCamerasOutlastAnotherBodyAndAnApply()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            drag(canvas(), QPoint(22, -14), Qt::LeftButton);
            const bsMatrix offline = canvas()->camera().matrix();
            QVERIFY((offline.column(3) - bsVector(22, 14, -300)).length() < kExact);
            goOnline();
            QVERIFY(differs(canvas()->camera().matrix(), offline));
            drag(canvas(), QPoint(-30, 18), Qt::LeftButton);
            drag(canvas(), QPoint(40, 25), Qt::RightButton);
            const bsMatrix online = canvas()->camera().matrix();
            QVERIFY(differs(online, bsMatrix::identity()));

            const auto bothAreKept = [&] {
                bool kept = canvas()->isOnline() && !differs(canvas()->camera().matrix(), online);
                goOnline();
                kept =
                    kept && !canvas()->isOnline() && !differs(canvas()->camera().matrix(), offline);
                goOnline();
                return kept && !differs(canvas()->camera().matrix(), online);
            };
            fixture().choose(DialogFixture::Probe);
            QVERIFY(bothAreKept());
            fixture().typeValue("body_pos_xyzWidget", 0, "4\r");
            fixture().click("apply_button");
            QCOMPARE(transforms().size(), 1);
            QVERIFY(bothAreKept());
            // The same from offline.
            goOnline();
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 0, "4\r");
            fixture().click("apply_button");
            QCOMPARE(transforms().size(), 2);
            QVERIFY(!differs(canvas()->camera().matrix(), offline));
            // Where there is nothing to be seen the cameras wait.
            fixture().choose(DialogFixture::Raw);
            fixture().choose(DialogFixture::Wand);
            QVERIFY(!differs(canvas()->camera().matrix(), offline));
            goOnline();
            QVERIFY(bothAreKept());
        });
    }

    void eachToggleIsSeenAtOnce_data()
    {
        QTest::addColumn<QString>("entry");
        for (const char *entry : {"Small markers", "Colored markers", "Emissions", "Long axes",
                                  "Show COG", "Show XY plane", "Show YZ plane", "Show XZ plane"})
            QTest::newRow(entry) << entry;
    }

    void eachToggleIsSeenAtOnce()
    {
        QFETCH(QString, entry);
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            canvas()->rotateView(25, 35, 0);
            canvas()->saveCurrentView();
            const KeptPicture picture(canvas());
            canvas()->updateGL();
            const QImage before = picture.image();
            // No event is handled in between: nobody else can have drawn it.
            fixture().menuAction(entry)->trigger();
            const QImage toggled = picture.image();
            QVERIFY(toggled != before);
            fixture().menuAction(entry)->trigger();
            QVERIFY(picture.image() == before);
        });
    }

    void theRoomOrientationIsSeenWithTheNextTick()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            goOnline();
            host().deliver("6d", trackedLine(0, Oracle::euler(40, 30, 0)));
            QTRY_VERIFY(canvas()->isTracked());
            const KeptPicture picture(canvas());
            canvas()->updateGL();
            const QImage before = picture.image();
            fixture().menuAction("Show room orientation")->trigger();
            QVERIFY(picture.image() == before);
            QTRY_VERIFY(picture.image() != before);
        });
    }

    void everyTickRepaintsTheView()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            // What the choice itself sets off is drawn by then.
            QTest::qWait(100);
            QTimer *poll = nullptr;
            for (QTimer *timer :
                 dialog()->findChildren<QTimer *>(QString(), Qt::FindDirectChildrenOnly)) {
                if (timer->interval() == 30)
                    poll = timer;
            }
            QVERIFY(poll && poll->isActive());
            KeptPicture picture(canvas());
            EventCounter events(canvas(), QEvent::Paint);
            int ticks = 0;
            int repainted = 0;
            picture.spoil();
            QVERIFY(picture.isSpoilt());
            connect(poll, &QTimer::timeout, this, [&] {
                ++ticks;
                if (!picture.isSpoilt())
                    ++repainted;
                picture.spoil();
                if (ticks == 5)
                    poll->stop();
            });
            QTRY_COMPARE(ticks, 5);
            QCOMPARE(repainted, 5);
            // Offline nothing but the timer asks for a picture.
            QCOMPARE(events.count, 0);
            poll->disconnect(this);
        });
    }

    // The history ---------------------------------------------------------------------------------

    void anEditBackToZeroLeavesWhatWasUndoneToBeRedone()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 0, "10\r");
            fixture().typeValue("body_pos_xyzWidget", 1, "20\r");
            for (const int left : {1, 0}) {
                fixture().click("undo_button");
                fixture().typeValue("body_ori_xyzWidget", 2, "5");
                QVERIFY(fixture().isEnabled("undo_button"));
                QVERIFY(!fixture().isEnabled("redo_button"));
                spinBox("body_ori_xyzWidget", 2)->selectAll();
                QTest::keyClicks(spinBox("body_ori_xyzWidget", 2), "0\r");
                QCOMPARE(body().undoCount(), left);
                QCOMPARE(body().redoCount(), 2 - left);
                QVERIFY(buttonsTellTheTruth());
            }
            fixture().click("redo_button");
            fixture().click("redo_button");
            QVERIFY(baseError(moved(10, 20, 0)) < kExact);
            QVERIFY(buttonsTellTheTruth());
        });
    }

    void whateverTheUserDoesTheButtonsTellTheTruth()
    {
        Oracle::Random random(testSeed());
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            const char *const groups[] = {"body_pos_xyzWidget", "body_ori_xyzWidget"};
            QVector<bsVector> markers = host().markers("standard", 1);
            std::vector<Eigen::Matrix4d> undone;
            std::vector<Eigen::Matrix4d> done = {Eigen::Matrix4d::Identity()};
            const auto commit = [&](const Eigen::Matrix4d &now) {
                if ((now - done.back()).cwiseAbs().maxCoeff() < 1e-7)
                    return;
                done.push_back(now);
                undone.clear();
            };
            const auto edit = [&](int group, int component, double value) {
                Eigen::Vector3d values = Eigen::Vector3d::Zero();
                values[component] = value;
                return Eigen::Matrix4d(done.back() *
                                       (group == 0 ? moved(values.x(), values.y(), values.z())
                                                   : turned(values.x(), values.y(), values.z())));
            };
            const auto endEdit = [&](QDoubleSpinBox *box) {
                const Qt::Key keys[] = {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Tab};
                QTest::keyClick(box, keys[random.integer(0, 2)]);
            };
            QString step;
            QHash<int, int> counts;
            for (int i = 0; i < 250; ++i) {
                const int group = random.integer(0, 1);
                const int component = random.integer(0, 2);
                QDoubleSpinBox *box = spinBox(groups[group], component);
                const double value = std::round(random.number(group == 0 ? -99 : 0, 99) * 4) / 4;
                const int kind = random.integer(0, 11);
                ++counts[kind];
                switch (kind) {
                case 0:
                case 1:
                    step = "type";
                    fixture().typeValue(groups[group], component, QString::number(value));
                    commit(edit(group, component, value));
                    endEdit(box);
                    break;
                case 2: {
                    step = "arrow keys";
                    box->setFocus();
                    const int presses = random.integer(1, 3);
                    for (int press = 0; press < presses; ++press)
                        QTest::keyClick(box, Qt::Key_Up);
                    commit(edit(group, component, presses));
                    endEdit(box);
                    break;
                }
                case 3: {
                    step = "mouse wheel";
                    box->setFocus();
                    const QPointF at = box->rect().center();
                    QWheelEvent event(at, box->mapToGlobal(at.toPoint()), QPoint(), QPoint(0, 240),
                                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
                    QApplication::sendEvent(box, &event);
                    commit(edit(group, component, 2));
                    endEdit(box);
                    break;
                }
                case 4:
                    step = "back to zero";
                    fixture().typeValue(groups[group], component, "7");
                    box->selectAll();
                    QTest::keyClicks(box, "0");
                    endEdit(box);
                    break;
                case 5:
                    step = "half typed, then undo";
                    fixture().typeValue(groups[group], component, QString::number(value));
                    commit(edit(group, component, value));
                    if (fixture().isEnabled("undo_button"))
                        fixture().click("undo_button");
                    if (done.size() > 1) {
                        undone.push_back(done.back());
                        done.pop_back();
                    }
                    break;
                case 6:
                case 7:
                    step = "undo";
                    if (kind == 6 && fixture().isEnabled("undo_button"))
                        fixture().click("undo_button");
                    else
                        QTest::keyClick(dialog(), Qt::Key_Z, Qt::ControlModifier);
                    if (done.size() > 1) {
                        undone.push_back(done.back());
                        done.pop_back();
                    }
                    break;
                case 8:
                case 9:
                    step = "redo";
                    if (kind == 8 && fixture().isEnabled("redo_button"))
                        fixture().click("redo_button");
                    else
                        QTest::keyClick(dialog(), Qt::Key_Z,
                                        Qt::ControlModifier | Qt::ShiftModifier);
                    if (!undone.empty()) {
                        done.push_back(undone.back());
                        undone.pop_back();
                    }
                    break;
                case 10:
                    step = "preset";
                    if (group == 0) {
                        fixture().click("set_origin_cog_button");
                        commit(Oracle::rigid(Oracle::rotation(done.back()), centre(markers)));
                    } else {
                        clickSpecial("pushButton_due_to_body");
                        commit(frameOf(markers, tripleOf(markers)));
                    }
                    if (done.size() == 1) {
                        // It had nothing to do: Apply was enabled, has nothing to write, and goes.
                        host().clearRecords();
                        fixture().click("apply_button");
                        QCOMPARE(host().transcript, QStringList());
                    }
                    break;
                default:
                    step = "apply";
                    if (done.size() == 1)
                        break;
                    host().clearRecords();
                    fixture().click("apply_button");
                    QCOMPARE(transforms().size(), 1);
                    markers = host().markers("standard", 1);
                    done = {Eigen::Matrix4d::Identity()};
                    undone.clear();
                }
                const QByteArray message = QStringLiteral("step %1, %2 %3[%4] %5")
                                               .arg(i)
                                               .arg(step, QLatin1String(groups[group]))
                                               .arg(component)
                                               .arg(value)
                                               .toLatin1();
                QVERIFY2(body().undoCount() + 1 == int(done.size()), message.constData());
                QVERIFY2(body().redoCount() == int(undone.size()), message.constData());
                QVERIFY2(buttonsTellTheTruth(), message.constData());
                QVERIFY2(baseError(done.back()) < 1e-6, message.constData());
                QVERIFY2(tableShows(markers, done.back()), message.constData());
                for (const char *name : groups) {
                    for (int j = 0; j < 3; ++j)
                        QVERIFY2(spinBox(name, j)->value() == 0.0, message.constData());
                }
            }
            QCOMPARE(counts.size(), 12);
        });
    }

    // Keys ----------------------------------------------------------------------------------------

    void returnChangesNothingWhereverTheFocusIs()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 0, "12\r");
            fixture().typeValue("body_pos_xyzWidget", 1, "3\r");
            fixture().click("undo_button");
            goOnline();
            clickMarker(1);
            QSet<QByteArray> visited;
            onEveryPage([&] {
                for (QWidget *widget : focusableWidgets()) {
                    if (qobject_cast<QPushButton *>(widget))
                        continue;
                    widget->setFocus();
                    QTRY_VERIFY2(widget->hasFocus(), describe(widget).constData());
                    const QStringList before = state();
                    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
                        QTest::keyClick(widget, key);
                        QVERIFY2(state() == before, describe(widget).constData());
                        QVERIFY2(widget->hasFocus(), describe(widget).constData());
                    }
                    visited.insert(widget->metaObject()->className());
                    visited.insert(widget->objectName().toLatin1());
                }
            });
            for (const char *name :
                 {"body_name", "ValueSpinBox", "QwtWheel", "GLCanvas", "tableWidget_data",
                  "tableWidget_emissions", "QTabBar", "online_checkbox"})
                QVERIFY2(visited.contains(name), name);
        });
    }

    void undoAndRedoKeysWorkWhereverTheFocusIs()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().typeValue("body_pos_xyzWidget", 0, "12\r");
            fixture().typeValue("body_pos_xyzWidget", 1, "3\r");
            fixture().click("undo_button");
            int visited = 0;
            // In the middle of the history, so that no button is disabled under the focus.
            onEveryPage([&] {
                for (QWidget *widget : focusableWidgets()) {
                    widget->setFocus();
                    QTRY_VERIFY2(widget->hasFocus(), describe(widget).constData());
                    QTest::keyClick(widget, Qt::Key_Z, Qt::ControlModifier);
                    QVERIFY2(body().undoCount() == 0 && body().redoCount() == 2,
                             describe(widget).constData());
                    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Z,
                                    Qt::ControlModifier | Qt::ShiftModifier);
                    QVERIFY2(body().undoCount() == 1 && body().redoCount() == 1,
                             describe(widget).constData());
                    QVERIFY(baseError(moved(12, 0, 0)) < kExact);
                    ++visited;
                }
            });
            QVERIFY(visited > 60);
        });
    }

    // The data view -------------------------------------------------------------------------------

    void twentyMarkersCanBeReadInTheDialog_data()
    {
        QTest::addColumn<bool>("smallest");
        QTest::newRow("as it opens") << false;
        QTest::newRow("as small as it gets") << true;
    }

    void twentyMarkersCanBeReadInTheDialog()
    {
        QFETCH(bool, smallest);
        QVector<Emission> emissions(20, Emission{0.577, -0.577, 0.577, 120.0});
        QVector<bsVector> markers;
        for (int i = 0; i < 20; ++i)
            markers.append(bsVector(-1234.56 + 40 * i, 999.25 - i * i, -1111.75 + 55 * (i % 7)));
        host().addBody("standard", 2, "Large", true, "tt_std", markers, emissions);
        fixture().session([&] {
            fixture().choose(DialogFixture::Plain);
            const QSize size = smallest ? dialog()->minimumSizeHint() : dialog()->size();
            dialog()->resize(size);
            QTRY_COMPARE(dialog()->size(), size);
            fixture().takeFromMenu(canvas(), "Data view");
            for (const char *name : {"tableWidget_data", "tableWidget_emissions"}) {
                auto *table = fixture().child<QTableWidget>(name);
                QVERIFY2(table->isVisible(), name);
                QCOMPARE(table->rowCount(), 20);
                QVERIFY2(!table->horizontalScrollBar()->isVisible(), name);
                QCOMPARE(table->horizontalHeader()->length(), table->viewport()->width());
                for (int column = 0; column < table->columnCount(); ++column) {
                    for (int row = 0; row < 20; ++row)
                        QVERIFY2(table->fontMetrics().horizontalAdvance(
                                     table->item(row, column)->text()) +
                                         6 <=
                                     table->columnWidth(column),
                                 name);
                }
                // Some rows at a time, the last one as well.
                QVERIFY2(table->viewport()->height() >= 3 * table->rowHeight(0), name);
                QVERIFY2(table->verticalScrollBar()->isVisible() ==
                             (table->verticalHeader()->length() > table->viewport()->height()),
                         name);
                table->verticalScrollBar()->triggerAction(QAbstractSlider::SliderToMaximum);
                QVERIFY2(
                    table->viewport()->rect().contains(table->visualItemRect(table->item(19, 1))),
                    name);
            }
        });
    }

    void theEmissionColumnsGetTheirWidthBackWithEveryResize()
    {
        fixture().session([&] {
            fixture().choose(DialogFixture::Wand);
            fixture().takeFromMenu(canvas(), "Data view");
            auto *table = fixture().child<QTableWidget>("tableWidget_emissions");
            QVERIFY(table->isVisible());
            for (const QSize &by : {QSize(120, 60), QSize(-120, -60)}) {
                // As the user may draw them.
                for (int column = 1; column <= 3; ++column)
                    table->horizontalHeader()->resizeSection(column, 33 + column);
                const QSize size = dialog()->size() + by;
                dialog()->resize(size);
                QTRY_COMPARE(dialog()->size(), size);
                for (int column = 1; column <= 3; ++column)
                    QCOMPARE(table->columnWidth(column), 80);
                QVERIFY(!table->horizontalScrollBar()->isVisible());
                QCOMPARE(table->horizontalHeader()->length(), table->viewport()->width());
            }
        });
    }
};

QUOREL2_TEST_MAIN(TestDialogOperations)
#include "tst_DialogOperations.moc"
