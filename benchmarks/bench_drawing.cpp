// What drawing costs in the 3D view, and what a user waits for there: a click, a drag.

#include "Comparison.h"
#include "ControllerLink.h"
#include "MarkerCloud.h"

#include <dialog/BodyAdjustmentDialog.h>
#include <model/abcBody.h>
#include <model/abcMarker.h>
#include <view/GLCanvas.h>

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QEvent>
#include <QMouseEvent>

#include <GL/gl.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr int kRounds = 60;
constexpr int kEventRounds = 300;
constexpr QSize kCanvasSize(640, 480);
constexpr int kWaitLimitMs = 10000;
/// While the dialog is open, it draws once in so many milliseconds.
constexpr double kPollIntervalMs = 30.0;
constexpr int kChosenMarkers = 20;

/// Counts the paint events of a widget.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget *widget) { widget->installEventFilter(this); }
    int count = 0;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            ++count;
        return QObject::eventFilter(watched, event);
    }
};

enum Extra { Nothing = 0, Grids = 1, Emissions = 2, Lines = 4, Everything = 7 };

/// Draws a picture now and waits until it is there.
void drawFrame(GLCanvas &canvas)
{
    canvas.updateGL();
    glFinish();
}

/// What earlier pictures and events have left to do is not measured.
void settle(GLCanvas &canvas)
{
    QApplication::processEvents();
    canvas.makeCurrent();
    glFinish();
    QGuiApplication::sync();
}

void show(GLCanvas &canvas, int markerCount, int extras)
{
    canvas.showMarkerEmissions((extras & Emissions) != 0);
    for (auto showGrid : {&GLCanvas::showXYGrid, &GLCanvas::showYZGrid, &GLCanvas::showXZGrid})
        (canvas.*showGrid)((extras & Grids) != 0);
    const bool loaded = canvas.setBody(cloudPositions(markerCount), cloudEmissions(markerCount));
    require(loaded == (markerCount > 0), "the body is not shown as it should be");
    const QList<abcMarker *> &markers = canvas.body().markers();
    if ((extras & Lines) != 0) {
        for (int i = 1; i < markers.size(); ++i) {
            canvas.select(nullptr);
            canvas.select(markers.at(i - 1));
            canvas.select(markers.at(i));
            canvas.introduceLine();
        }
        canvas.select(nullptr);
        require(canvas.body().lines().size() == markers.size() - 1, "the lines are missing");
    }
}

/// Where the initial camera shows a point, in widget pixels.
QPoint pixelOf(const GLCanvas &canvas, const bsVector &position)
{
    const bsVector &cog = canvas.body().cog();
    const double depth = 300.0 - (position.z - cog.z);
    const double scale = canvas.height() / 2.0 / std::tan(22.5 * M_PI / 180.0) / depth;
    return {static_cast<int>(canvas.width() / 2.0 + (position.x - cog.x) * scale),
            static_cast<int>(canvas.height() / 2.0 - (position.y - cog.y) * scale)};
}

void measureFrames(GLCanvas &canvas)
{
    struct Look {
        const char *name;
        int extras;
    };
    Comparison comparison;
    const auto add = [&](const std::string &name, int markerCount, int extras) {
        return comparison.add(
            name, [&canvas] { drawFrame(canvas); },
            [&canvas, markerCount, extras] {
                show(canvas, markerCount, extras);
                drawFrame(canvas);
                settle(canvas);
            });
    };
    const int empty = add("no body", 0, Nothing);
    int fullest = empty;
    for (const int markerCount : {4, 20, 100}) {
        for (const Look &look :
             {Look{"", Nothing}, Look{", grids", Grids}, Look{", emissions", Emissions},
              Look{", lines", Lines}, Look{", all three", Everything}})
            fullest =
                add(std::to_string(markerCount) + " markers" + look.name, markerCount, look.extras);
    }
    comparison.measure(kRounds);
    comparison.print("a frame (ratio: against the empty view)", empty);
    std::printf("%s: %.0f %% of the %.0f ms between two pictures\n",
                comparison.name(fullest).c_str(),
                comparison.medianUs(fullest) / 1000.0 / kPollIntervalMs * 100.0, kPollIntervalMs);
    std::fflush(stdout);
}

void measurePicking(GLCanvas &canvas)
{
    for (const int markerCount : {4, 20, 100}) {
        show(canvas, markerCount, Nothing);
        // The foremost one is not hidden by another.
        const QVector<bsVector> positions = cloudPositions(markerCount);
        const abcObject *expected = canvas.body().markers().first();
        const QPoint onMarker = pixelOf(canvas, positions.first());
        const QPoint beside(2, 2);

        Comparison comparison;
        const auto settled = [&canvas] { settle(canvas); };
        const int frame = comparison.add(
            "a frame", [&canvas] { drawFrame(canvas); }, settled);
        comparison.add(
            "a pick of a marker",
            [&] { require(canvas.pick(onMarker) == expected, "a pick missed"); }, settled);
        comparison.add(
            "a pick of nothing", [&] { require(!canvas.pick(beside), "a pick hit"); }, settled);
        comparison.measure(kEventRounds);
        comparison.print((std::to_string(markerCount) + " markers").c_str(), frame);
    }
}

void sendMouse(GLCanvas &canvas, QEvent::Type type, const QPoint &position)
{
    const bool moves = type == QEvent::MouseMove;
    const bool released = type == QEvent::MouseButtonRelease;
    QMouseEvent event(type, position, canvas.mapToGlobal(position),
                      moves ? Qt::NoButton : Qt::RightButton,
                      released ? Qt::NoButton : Qt::RightButton, Qt::ControlModifier);
    QApplication::sendEvent(&canvas, &event);
}

/// Turning the view by the mouse; what is connected to the canvas takes part.
void measureDrag(GLCanvas &canvas, const char *title)
{
    PaintCounter paints(&canvas);
    const QPoint place = canvas.rect().center();
    bool aside = false;
    const auto beginDrag = [&] {
        // A window that lost the focus for a moment has ended its drag.
        if (!canvas.isDragging())
            sendMouse(canvas, QEvent::MouseButtonPress, place);
        settle(canvas);
    };
    const auto move = [&] {
        aside = !aside;
        sendMouse(canvas, QEvent::MouseMove, aside ? place + QPoint(1, 1) : place);
        require(canvas.isDragging(), "the drag has ended");
    };
    const auto moveAndDraw = [&] {
        const int before = paints.count;
        move();
        QElapsedTimer clock;
        clock.start();
        while (paints.count == before) {
            QApplication::processEvents();
            require(clock.elapsed() < kWaitLimitMs, "a move of the mouse is not drawn");
        }
        canvas.makeCurrent();
        glFinish();
    };

    Comparison comparison;
    const int frame = comparison.add(
        "a frame", [&canvas] { drawFrame(canvas); }, [&canvas] { settle(canvas); });
    comparison.add("a move of the mouse, what it does at once", move, beginDrag);
    comparison.add("a move of the mouse until it is drawn", moveAndDraw, beginDrag);
    comparison.measure(kEventRounds);
    comparison.print(title, frame);
    std::printf("  of %d markers, %d x %d pixels\n", canvas.body().markerCount(), canvas.width(),
                canvas.height());
    sendMouse(canvas, QEvent::MouseButtonRelease, place);
}

void waitUntilDrawn(GLCanvas &canvas)
{
    const PaintCounter paints(&canvas);
    QElapsedTimer clock;
    clock.start();
    canvas.show();
    while (paints.count == 0 || canvas.size() != kCanvasSize) {
        QApplication::processEvents();
        require(clock.elapsed() < kWaitLimitMs, "the view does not appear");
    }
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    useCLocale();
    // A picture must not wait for the screen.
    QGLFormat format = QGLFormat::defaultFormat();
    format.setSwapInterval(0);
    QGLFormat::setDefaultFormat(format);

    {
        GLCanvas canvas;
        require(canvas.isValid(), "this display has no OpenGL");
        canvas.setSuspended(false);
        canvas.resize(kCanvasSize);
        waitUntilDrawn(canvas);
        canvas.makeCurrent();
        std::printf("Drawing %d x %d pixels with %s.\n", kCanvasSize.width(), kCanvasSize.height(),
                    reinterpret_cast<const char *>(glGetString(GL_RENDERER)));
        measureFrames(canvas);
        measurePicking(canvas);
        show(canvas, kChosenMarkers, Nothing);
        measureDrag(canvas, "a drag in the view alone");
    }

    ControllerLink link({kChosenMarkers});
    link.runInDialog([](BodyAdjustmentDialog &dialog) {
        auto *canvas = dialog.findChild<GLCanvas *>();
        auto *list = dialog.findChild<QComboBox *>(QStringLiteral("body_name"));
        require(canvas && list, "the dialog is not what it was");
        list->setCurrentIndex(0);
        require(canvas->body().markerCount() == kChosenMarkers, "the body was not loaded");
        canvas->showMarkerEmissions(false);
        settle(*canvas);
        measureDrag(*canvas, "a drag in the dialog");
    });
    return 0;
}
