// Draws one scene of the 3D view in a window and ends: the program whose OpenGL calls are traced.
// The scenes are named here and in tst_GLCallOrder.

#include <view/GLCanvas.h>

#include <model/abcLine.h>
#include <model/abcMarker.h>

#include <QApplication>
#include <QTimer>
#include <QWindow>

#include <cstdio>
#include <cstring>
#include <limits>

namespace {

bsMatrix quarterTurnAboutZ()
{
    bsMatrix matrix;
    matrix.setColumn(0, bsVector(0.0, 1.0, 0.0), 0.0);
    matrix.setColumn(1, bsVector(-1.0, 0.0, 0.0), 0.0);
    matrix.setColumn(2, bsVector(0.0, 0.0, 1.0), 0.0);
    matrix.setColumn(3, bsVector(0.0, 0.0, 0.0), 1.0);
    return matrix;
}

void loadBody(GLCanvas &canvas)
{
    canvas.setBody({{-40.0, 0.0, 0.0}, {60.0, 0.0, 0.0}},
                   {{1.0, 0.0, 0.0, 60.0}, {0.0, -1.0, 0.0, 120.0}});
    canvas.select(canvas.body().markers()[0]);
    canvas.select(canvas.body().markers()[1]);
}

void showEverything(GLCanvas &canvas)
{
    loadBody(canvas);
    canvas.introduceLine();
    canvas.showColoredMarkers(true);
    canvas.showCOG(true);
    canvas.showLongAxes(true);
    canvas.showXYGrid(true);
    canvas.showYZGrid(true);
    canvas.showXZGrid(true);
    canvas.setRoomAxesVisible(true);
    canvas.setOnline(true);
    canvas.setTrackedPose(quarterTurnAboutZ(), bsVector(1.0, 2.0, 3.0), true);
    canvas.translateBody(1.0, 2.0, 3.0);
    emit canvas.storeBodyRequest();
    canvas.translateBody(4.0, 5.0, 6.0);
}

bool setScene(GLCanvas &canvas, const char *name)
{
    const auto is = [name](const char *scene) { return std::strcmp(name, scene) == 0; };
    if (is("empty"))
        return true;
    if (is("suspended")) {
        loadBody(canvas);
        canvas.setSuspended(true);
        return true;
    }
    if (is("everything")) {
        showEverything(canvas);
        return true;
    }
    if (is("small")) {
        showEverything(canvas);
        canvas.showSmallMarkers(true);
        return true;
    }
    if (is("pick")) {
        showEverything(canvas);
        return true;
    }
    if (is("infinite")) {
        const double infinity = std::numeric_limits<double>::infinity();
        const double nan = std::numeric_limits<double>::quiet_NaN();
        canvas.setBody({{-40.0, 0.0, 0.0}, {-20.0, 0.0, 0.0}, {20.0, 0.0, 0.0}, {40.0, 0.0, 0.0}},
                       {{nan, 0.0, 1.0, 60.0},
                        {1.0, infinity, 0.0, 60.0},
                        {0.0, 1.0, -infinity, 60.0},
                        {1.0, 0.0, 0.0, nan}});
        return true;
    }
    if (is("line")) {
        canvas.resize(800, 200);
        canvas.setBody({{-40.0, 0.0, 0.0}, {60.0, 0.0, 0.0}}, {});
        canvas.select(canvas.body().markers()[0]);
        canvas.select(canvas.body().markers()[1]);
        canvas.introduceLine();
        canvas.select(canvas.body().lines()[0]);
        return true;
    }
    return false;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    GLCanvas canvas;
    canvas.setSuspended(false);
    canvas.resize(640, 480);
    if (argc != 2 || !setScene(canvas, argv[1])) {
        std::fprintf(stderr, "usage: traced_scene SCENE\n");
        return 2;
    }
    canvas.show();
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &canvas, [&] {
        // A window manager shows the window some time after it was asked to.
        if (!canvas.testAttribute(Qt::WA_Mapped) || !canvas.windowHandle()->isExposed())
            return;
        timer.stop();
        QCoreApplication::processEvents();
        // One frame of its own after whatever the window system asked for.
        canvas.updateGL();
        if (std::strcmp(argv[1], "pick") == 0)
            canvas.pick(QPoint(100, 150));
        else if (std::strcmp(argv[1], "line") == 0)
            canvas.pick(QPoint(430, 90));
        QApplication::quit();
    });
    timer.start(1);
    return QApplication::exec();
}
