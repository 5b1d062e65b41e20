#include <tests/support/TestMain.h>

#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <array>

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kPreloadsAreAllowed = false;
#else
constexpr bool kPreloadsAreAllowed = true;
#endif

/// A number as the expectations below write it: five digits, no negative zero.
QString rounded(const QString &number)
{
    const QString text = QString::number(number.toDouble(), 'g', 5);
    if (text == QLatin1String("-0") || qAbs(number.toDouble()) < 1e-9)
        return QStringLiteral("0");
    return text;
}

/// "glRotated(angle = 90, x = 0)" becomes "glRotated(90, 0)".
QString plain(const QString &call)
{
    static const QRegularExpression names(QStringLiteral("\\b[a-z_]+[0-9]? = "));
    static const QRegularExpression numbers(
        QStringLiteral("(?<![A-Za-z0-9_])-?[0-9]+(\\.[0-9]+)?(e[-+]?[0-9]+)?(?![A-Za-z0-9_])"));
    QString text = call;
    text.remove(names);
    QString result;
    int end = 0;
    auto matches = numbers.globalMatch(text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        result += text.midRef(end, match.capturedStart() - end);
        result += rounded(match.captured());
        end = match.capturedEnd();
    }
    return result + text.mid(end);
}

/// Sums up what is drawn between two other calls: the primitives in order, how large they are.
class Geometry {
public:
    bool isEmpty() const { return m_batches.isEmpty(); }

    void begin(const QString &mode)
    {
        m_mode = mode;
        m_count = 0;
    }
    void vertex(const QStringList &coordinates)
    {
        ++m_count;
        for (int i = 0; i < 3; ++i) {
            const double value = coordinates.value(i).toDouble();
            m_minimum[i] = std::min(m_minimum[i], value);
            m_maximum[i] = std::max(m_maximum[i], value);
        }
    }
    void end()
    {
        const QString batch = QStringLiteral("%1/%2").arg(m_mode).arg(m_count);
        if (m_batches.isEmpty() || m_batches.last().first != batch)
            m_batches.append({batch, 0});
        ++m_batches.last().second;
    }
    QString take()
    {
        QString text;
        for (const auto &batch : qAsConst(m_batches))
            text += QStringLiteral("%1 %2, ").arg(batch.second).arg(batch.first);
        const auto range = [this](int i) {
            return QStringLiteral("%1..%2").arg(rounded(QString::number(m_minimum[i], 'g', 9)),
                                                rounded(QString::number(m_maximum[i], 'g', 9)));
        };
        text += QStringLiteral("y %1, z %2").arg(range(1), range(2));
        *this = Geometry();
        return text;
    }

private:
    QString m_mode;
    int m_count = 0;
    QVector<QPair<QString, int>> m_batches;
    std::array<double, 3> m_minimum = {1e9, 1e9, 1e9};
    std::array<double, 3> m_maximum = {-1e9, -1e9, -1e9};
};

/// The calls of a trace without what concerns the window system.
QStringList readCalls(const QString &dump)
{
    static const QRegularExpression line(
        QStringLiteral("^\\d+ (gl[A-Z]\\w*)\\((.*)\\)( = .*)?( // .*)?$"),
        QRegularExpression::MultilineOption);
    static const QRegularExpression arguments(QStringLiteral("= (-?[0-9.e+-]+)"));
    QStringList calls;
    Geometry geometry;
    auto matches = line.globalMatch(dump);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const QString name = match.captured(1);
        if (name == QLatin1String("glXSwapBuffers")) {
            calls.append(QStringLiteral("swap"));
            continue;
        }
        if (name.startsWith(QLatin1String("glX")) || name.startsWith(QLatin1String("glNormal")) ||
            match.captured(4).contains(QLatin1String("fake")))
            continue;
        if (name == QLatin1String("glBegin")) {
            geometry.begin(match.captured(2).section(QStringLiteral(" = "), 1));
        } else if (name.startsWith(QLatin1String("glVertex"))) {
            QStringList coordinates;
            auto values = arguments.globalMatch(match.captured(2));
            while (values.hasNext())
                coordinates.append(values.next().captured(1));
            geometry.vertex(coordinates);
        } else if (name == QLatin1String("glEnd")) {
            geometry.end();
        } else {
            if (!geometry.isEmpty())
                calls.append(geometry.take());
            calls.append(plain(name + QLatin1Char('(') + match.captured(2) + QLatin1Char(')')));
        }
    }
    return calls;
}

QStringList lines(const char *text)
{
    QStringList result;
    for (const QString &part :
         QString::fromLatin1(text).split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        result.append(part.trimmed());
    return result;
}

QStringList translated(double x, double y, double z)
{
    return {QStringLiteral("glTranslated(%1, %2, %3)").arg(x).arg(y).arg(z)};
}

QStringList cylinder(int slices, int stacks, double radius, double height)
{
    return {QStringLiteral("%1 GL_QUAD_STRIP/%2, y %3..%4, z 0..%5")
                .arg(stacks)
                .arg(2 * (slices + 1))
                .arg(rounded(QString::number(-radius)), rounded(QString::number(radius)),
                     rounded(QString::number(height)))};
}

/// One axis: the shaft, then the head at its end.
QStringList arrow(double length)
{
    return cylinder(16, 1, length / 80.0, length) + translated(0, 0, length) +
           cylinder(16, 1, length / 10.0, length / 5.0);
}

QStringList axes(double length)
{
    return lines("glPolygonMode(GL_FRONT_AND_BACK, GL_FILL)\n"
                 "glEnable(GL_LIGHTING)\n"
                 "glColor3d(1, 0, 0)\n"
                 "glPushMatrix()\n"
                 "glRotated(90, 0, 1, 0)") +
           arrow(length) +
           lines("glPopMatrix()\n"
                 "glColor3d(0, 1, 0)\n"
                 "glPushMatrix()\n"
                 "glRotated(-90, 1, 0, 0)") +
           arrow(length) +
           lines("glPopMatrix()\n"
                 "glColor3d(0, 0, 1)\n"
                 "glPushMatrix()") +
           arrow(length) + lines("glPopMatrix()");
}

QStringList grid()
{
    return lines("glDisable(GL_LIGHTING)\n"
                 "glLineWidth(1)\n"
                 "1 GL_LINES/164, y -500..500, z 0..0");
}

QStringList sphere(int divisions, double radius)
{
    return {QStringLiteral("2 GL_TRIANGLE_FAN/%1, %2 GL_QUAD_STRIP/%3, y %4..%5, z %4..%5")
                .arg(divisions + 2)
                .arg(divisions - 2)
                .arg(2 * (divisions + 1))
                .arg(-radius)
                .arg(radius)};
}

QStringList placedSphere(double x, int divisions, double radius)
{
    return lines("glPushMatrix()") + translated(x, 0, 0) + lines("glRotated(90, 1, 0, 0)") +
           sphere(divisions, radius) + lines("glPopMatrix()");
}

const char *kIdentity = "glMultMatrixd({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1})";
const char *kView = "glMultMatrixd({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, -300, 1})";
const char *kRoom = "glMultMatrixd({0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1})";

QStringList prism(double width)
{
    return lines("glPushMatrix()") + lines(kIdentity) +
           QStringList{
               QStringLiteral("1 GL_QUADS/24, y %1..%2, z %1..%2").arg(-width / 2).arg(width / 2)} +
           lines("glPopMatrix()");
}

QStringList emission(double x, const char *rotation, bool backward, bool small)
{
    const double length = small ? 15.0 : 25.8;
    // Both markers' angles are 30 degrees off the plane.
    const double height = length * 0.5;
    const double radius = length * 0.8660254037844386;
    const QStringList place =
        lines("glColor3d(1, 1, 1)\nglPushMatrix()") + translated(x, 0, 0) + lines(rotation);
    return lines("glPolygonMode(GL_FRONT_AND_BACK, GL_FILL)\nglEnable(GL_LIGHTING)") + place +
           cylinder(14, 1, 0.3125, length + 4.5) + translated(0, 0, length + 4.5) +
           cylinder(14, 1, 2.5, 5.0) + lines("glPopMatrix()") + place +
           (backward ? translated(0, 0, -height) : QStringList()) +
           cylinder(20, 20, radius, height) + lines("glPopMatrix()");
}

QStringList everything(bool small)
{
    const double radius = small ? 3.0 : 10.0;
    const double width = small ? 1.5 : 6.0;
    const auto highlight = [&](double x) {
        return lines("glPolygonMode(GL_FRONT_AND_BACK, GL_LINE)\n"
                     "glDisable(GL_LIGHTING)\n"
                     "glLineWidth(1)") +
               placedSphere(x, 8, radius * 1.2) +
               lines("glEnable(GL_LIGHTING)\n"
                     "glPolygonMode(GL_FRONT_AND_BACK, GL_FILL)");
    };
    QStringList calls;
    calls += lines("glClear(GL_DEPTH_BUFFER_BIT | GL_COLOR_BUFFER_BIT)\nglPushMatrix()");
    calls += lines(kView);
    calls += lines("glColor3ub(255, 255, 255)\n"
                   "glPointSize(5)\n"
                   "glDisable(GL_LIGHTING)\n"
                   "1 GL_POINTS/1, y 0..0, z 0..0");
    calls += axes(40.0);
    calls += lines(kRoom);
    calls += translated(-10, 0, 0);
    // The body's coordinate system.
    calls += lines("glPushMatrix()\n"
                   "glMultMatrixd({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1})\n"
                   "glMultMatrixd({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 4, 5, 6, 1})");
    calls += axes(25.0);
    calls += lines("glEnable(GL_LINE_STIPPLE)\n"
                   "glLineStipple(1, 61680)\n"
                   "glDisable(GL_LIGHTING)\n"
                   "glLineWidth(1)\n"
                   "glColor3d(1, 0, 0)\n"
                   "glColor3d(0, 1, 0)\n"
                   "glColor3d(0, 0, 1)\n"
                   "1 GL_LINES/6, y -250..250, z -250..250\n"
                   "glDisable(GL_LINE_STIPPLE)\n"
                   "glColor3ub(255, 255, 0)");
    calls += grid();
    calls += lines("glPushMatrix()\n"
                   "glColor3ub(0, 255, 255)\n"
                   "glRotated(90, 0, 1, 0)");
    calls += grid();
    calls += lines("glPopMatrix()\n"
                   "glPushMatrix()\n"
                   "glColor3ub(255, 0, 255)\n"
                   "glRotated(90, 1, 0, 0)");
    calls += grid();
    calls += lines("glPopMatrix()\nglPopMatrix()");
    // Its objects, in the stored frame.
    calls += lines("glColor3ub(255, 0, 0)\nglEnable(GL_LIGHTING)");
    calls += placedSphere(-40, 16, radius);
    calls += lines("glColor3ub(0, 255, 0)\nglEnable(GL_LIGHTING)");
    calls += placedSphere(60, 16, radius);
    calls += emission(-40, "glRotated(90, 0, 1, 0)", false, small);
    calls += emission(60, "glRotated(90, 1, 0, 0)", true, small);
    calls += lines("glColor3ub(100, 100, 100)");
    calls += prism(width);
    // The selection.
    calls += lines("glColor3ub(255, 255, 255)");
    calls += highlight(-40);
    calls += lines("glColor3ub(128, 128, 128)");
    calls += highlight(60);
    calls += lines("glPopMatrix()\nglFlush()");
    return calls;
}

} // namespace

class tst_GLCallOrder : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void initializeThenResize();
    void frameWithoutBody();
    void suspendedFrame();
    void frameWithEverything();
    void frameWithSmallMarkers();
    void pick();

private:
    QStringList trace(const char *scene);
    QStringList lastFrame(const char *scene);
    void compare(const QStringList &actual, const QStringList &expected);

    QTemporaryDir m_directory;
    QString m_apitrace;
};

void tst_GLCallOrder::initTestCase()
{
    if (!kPreloadsAreAllowed)
        QSKIP("a tracer cannot be loaded ahead of the address sanitizer");
    QVERIFY(m_directory.isValid());
    m_apitrace = QStandardPaths::findExecutable(QStringLiteral("apitrace"));
    QVERIFY2(!m_apitrace.isEmpty(), "apitrace is not installed");
}

QStringList tst_GLCallOrder::trace(const char *scene)
{
    const QString file = m_directory.filePath(QLatin1String(scene) + QStringLiteral(".trace"));
    QProcess tracer;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QStringLiteral("1"));
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    tracer.setProcessEnvironment(environment);
    tracer.start(m_apitrace,
                 {QStringLiteral("trace"), QStringLiteral("-o"), file,
                  QStringLiteral(QUOREL2_BUILD_DIR "/bin/traced_scene"), QLatin1String(scene)});
    if (!tracer.waitForFinished(60000) || tracer.exitCode() != 0) {
        QTest::qFail(tracer.readAllStandardError().constData(), __FILE__, __LINE__);
        return {};
    }
    QProcess dumper;
    dumper.setProcessEnvironment(environment);
    dumper.start(m_apitrace, {QStringLiteral("dump"), QStringLiteral("--color=never"), file});
    if (!dumper.waitForFinished(60000) || dumper.exitCode() != 0) {
        QTest::qFail(dumper.readAllStandardError().constData(), __FILE__, __LINE__);
        return {};
    }
    return readCalls(QString::fromUtf8(dumper.readAllStandardOutput()));
}

QStringList tst_GLCallOrder::lastFrame(const char *scene)
{
    const QStringList calls = trace(scene);
    const int end = calls.lastIndexOf(QStringLiteral("swap"));
    const int begin = end < 1 ? -1 : calls.lastIndexOf(QStringLiteral("swap"), end - 1);
    return calls.mid(begin + 1, end - begin - 1);
}

void tst_GLCallOrder::compare(const QStringList &actual, const QStringList &expected)
{
    // The first difference with what is around it says more than two long lists.
    for (int i = 0; i < qMax(actual.size(), expected.size()); ++i) {
        if (actual.value(i) == expected.value(i))
            continue;
        const QString message =
            QStringLiteral("call %1 after\n  %2\nis\n  %3\ninstead of\n  %4")
                .arg(i)
                .arg(expected.mid(qMax(0, i - 3), qMin(3, i)).join(QStringLiteral("\n  ")),
                     actual.mid(i, 3).join(QStringLiteral("\n  ")),
                     expected.mid(i, 3).join(QStringLiteral("\n  ")));
        QFAIL(qPrintable(message));
    }
    QVERIFY(!expected.isEmpty());
}

void tst_GLCallOrder::initializeThenResize()
{
    const QStringList calls = trace("empty");
    const int begin = calls.indexOf(QRegularExpression(QStringLiteral("^glPolygonMode.*")));
    const int end = calls.indexOf(QRegularExpression(QStringLiteral("^glClear\\(.*")));
    QVERIFY(begin >= 0 && end > begin);
    compare(calls.mid(begin, end - begin),
            lines("glPolygonMode(GL_FRONT_AND_BACK, GL_FILL)\n"
                  "glShadeModel(GL_SMOOTH)\n"
                  "glEnable(GL_COLOR_MATERIAL)\n"
                  "glEnable(GL_DEPTH_TEST)\n"
                  "glDepthFunc(GL_LESS)\n"
                  "glClearDepth(1)\n"
                  "glClearColor(0, 0, 0, 1)\n"
                  "glEnable(GL_LIGHT0)\n"
                  "glEnable(GL_LIGHTING)\n"
                  "glViewport(0, 0, 640, 480)\n"
                  "glMatrixMode(GL_PROJECTION)\n"
                  "glLoadIdentity()\n"
                  "glMultMatrixd({1.8107, 0, 0, 0, 0, 2.4142, 0, 0, 0, 0, -1, -1, 0, 0, -2, 0})\n"
                  "glMatrixMode(GL_MODELVIEW)\n"
                  "glLoadIdentity()"));
}

void tst_GLCallOrder::frameWithoutBody()
{
    compare(lastFrame("empty"),
            lines("glClear(GL_DEPTH_BUFFER_BIT | GL_COLOR_BUFFER_BIT)\nglPushMatrix()") +
                lines(kView) + lines("glTranslated(0, 0, 0)\nglPopMatrix()\nglFlush()"));
}

void tst_GLCallOrder::suspendedFrame()
{
    compare(lastFrame("suspended"),
            lines("glClear(GL_DEPTH_BUFFER_BIT | GL_COLOR_BUFFER_BIT)\nglPushMatrix()") +
                lines(kView) + lines("glPopMatrix()\nglFlush()"));
}

void tst_GLCallOrder::frameWithEverything()
{
    compare(lastFrame("everything"), everything(false));
}

void tst_GLCallOrder::frameWithSmallMarkers()
{
    compare(lastFrame("small"), everything(true));
}

void tst_GLCallOrder::pick()
{
    QStringList calls = trace("pick");
    const int begin = calls.indexOf(QRegularExpression(QStringLiteral("^glSelectBuffer.*")));
    QVERIFY(begin >= 0);
    calls = calls.mid(begin);
    while (!calls.isEmpty() && calls.last() != QLatin1String("glRenderMode(GL_RENDER)"))
        calls.removeLast();
    QVERIFY(calls.takeFirst().startsWith(QLatin1String("glSelectBuffer(512,")));

    QStringList expected = lines("glRenderMode(GL_SELECT)\n"
                                 "glMatrixMode(GL_PROJECTION)\n"
                                 "glPushMatrix()\n"
                                 "glLoadIdentity()\n"
                                 "glGetIntegerv(GL_VIEWPORT, {0, 0, 640, 480})\n"
                                 // Five pixels around (100, 480 - 150).
                                 "glTranslatef(88, -36, 0)\n"
                                 "glScalef(128, 96, 1)");
    expected +=
        lines("glMultMatrixd({1.8107, 0, 0, 0, 0, 2.4142, 0, 0, 0, 0, -1, -1, 0, 0, -2, 0})\n"
              "glMatrixMode(GL_MODELVIEW)\n"
              "glPushMatrix()\n"
              "glLoadIdentity()");
    expected += lines(kView) + lines(kRoom) + translated(-10, 0, 0);
    expected += lines("glInitNames()\nglPushName(1)\nglPushName(0)");
    expected += placedSphere(-40, 16, 10.0);
    expected += lines("glPopName()\nglPushName(1)");
    expected += placedSphere(60, 16, 10.0);
    expected += lines("glPopName()\nglPopName()\nglPushName(2)\nglPushName(0)");
    expected += prism(6.0);
    expected += lines("glPopName()\nglPopName()\n"
                      "glMatrixMode(GL_PROJECTION)\nglPopMatrix()\n"
                      "glMatrixMode(GL_MODELVIEW)\nglPopMatrix()\n"
                      "glRenderMode(GL_RENDER)");
    compare(calls, expected);
}

QUOREL2_TEST_MAIN(tst_GLCallOrder)
#include "tst_GLCallOrder.moc"
