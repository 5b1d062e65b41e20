#include <tests/support/TestMain.h>

#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kPreloadsAreAllowed = false;
#else
constexpr bool kPreloadsAreAllowed = true;
#endif

/// A number as the expectations below write it: five digits, no negative zero.
QString rounded(const QString &number, int digits = 5)
{
    const QString text = QString::number(number.toDouble(), 'g', digits);
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

using Triple = std::array<double, 3>;

/// Surfaces come in single precision.
QString range(double minimum, double maximum)
{
    return QStringLiteral("%1..%2").arg(rounded(QString::number(minimum, 'g', 9), 4),
                                        rounded(QString::number(maximum, 'g', 9), 4));
}

QString box(const Triple &minimum, const Triple &maximum)
{
    return QStringLiteral("x %1, y %2, z %3")
        .arg(range(minimum[0], maximum[0]), range(minimum[1], maximum[1]),
             range(minimum[2], maximum[2]));
}

/// The smallest and the largest coordinates of some points.
class Extent {
public:
    void add(const Triple &point)
    {
        for (std::size_t i = 0; i < 3; ++i) {
            minimum[i] = std::min(minimum[i], point[i]);
            maximum[i] = std::max(maximum[i], point[i]);
        }
    }
    QString text() const { return box(minimum, maximum); }

    Triple minimum = {1e9, 1e9, 1e9};
    Triple maximum = {-1e9, -1e9, -1e9};
};

/// Sums up what is drawn between two other calls: the primitives in order, where they lie, and
/// whether their normals show outward. Of quads each single face.
class Geometry {
public:
    bool isEmpty() const { return m_batches.isEmpty(); }

    void begin(const QString &mode)
    {
        m_mode = mode;
        m_count = 0;
    }
    void normal(const Triple &direction)
    {
        m_normal = direction;
        m_hasNormals = true;
    }
    void vertex(const Triple &position)
    {
        ++m_count;
        m_vertices.append({position, m_normal});
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
        text += m_mode == QLatin1String("GL_QUADS") ? faces() : extents();
        *this = Geometry();
        return text;
    }

private:
    struct Vertex {
        Triple position;
        Triple normal;
    };

    QString extents() const
    {
        Extent positions;
        for (const Vertex &vertex : m_vertices)
            positions.add(vertex.position);
        if (!m_hasNormals)
            return positions.text();

        // What is drawn is convex: its normals show away from its middle.
        Extent normals;
        bool areUnits = true;
        bool areOutward = true;
        for (const Vertex &vertex : m_vertices) {
            normals.add(vertex.normal);
            double squaredLength = 0.0;
            double outward = 0.0;
            for (std::size_t i = 0; i < 3; ++i) {
                const double middle = (positions.minimum[i] + positions.maximum[i]) / 2.0;
                squaredLength += vertex.normal[i] * vertex.normal[i];
                outward += vertex.normal[i] * (vertex.position[i] - middle);
            }
            areUnits = areUnits && std::abs(squaredLength - 1.0) < 1e-4;
            areOutward = areOutward && outward > 0.0;
        }
        return QStringLiteral("%1, %2 normals %3, z %4")
            .arg(positions.text(), areUnits ? QStringLiteral("unit") : QStringLiteral("other"),
                 areOutward ? QStringLiteral("outward") : QStringLiteral("elsewhere"),
                 range(normals.minimum[2], normals.maximum[2]));
    }

    QString faces() const
    {
        QStringList result;
        for (int first = 0; first + 3 < m_vertices.size(); first += 4) {
            Extent corners;
            for (int i = first; i < first + 4; ++i)
                corners.add(m_vertices[i].position);
            QStringList normal;
            bool isOneNormal = true;
            bool isParallelogram = true;
            for (std::size_t i = 0; i < 3; ++i) {
                const double n = m_vertices[first].normal[i];
                normal.append(rounded(QString::number(n, 'g', 9)));
                for (int k = 1; k < 4; ++k)
                    isOneNormal = isOneNormal && m_vertices[first + k].normal[i] == n;
                const auto at = [&](int k) { return m_vertices[first + k].position[i]; };
                isParallelogram = isParallelogram && std::abs(at(0) + at(2) - at(1) - at(3)) < 1e-4;
            }
            result.append(QStringLiteral("(%1) %2%3%4")
                              .arg(normal.join(QLatin1Char(' ')), corners.text(),
                                   isOneNormal ? QString() : QStringLiteral(" several normals"),
                                   isParallelogram ? QString() : QStringLiteral(" crossed")));
        }
        result.sort();
        return result.join(QStringLiteral("; "));
    }

    QString m_mode;
    int m_count = 0;
    QVector<QPair<QString, int>> m_batches;
    QVector<Vertex> m_vertices;
    Triple m_normal = {0.0, 0.0, 0.0};
    bool m_hasNormals = false;
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
        if (name.startsWith(QLatin1String("glX")) ||
            match.captured(4).contains(QLatin1String("fake")))
            continue;
        const auto triple = [&match] {
            Triple result = {0.0, 0.0, 0.0};
            auto values = arguments.globalMatch(match.captured(2));
            for (std::size_t i = 0; i < 3 && values.hasNext(); ++i)
                result[i] = values.next().captured(1).toDouble();
            return result;
        };
        if (name == QLatin1String("glBegin")) {
            geometry.begin(match.captured(2).section(QStringLiteral(" = "), 1));
        } else if (name.startsWith(QLatin1String("glVertex"))) {
            geometry.vertex(triple());
        } else if (name.startsWith(QLatin1String("glNormal"))) {
            geometry.normal(triple());
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

QStringList cylinder(int slices, int stacks, double base, double top, double height)
{
    const double radius = std::max(base, top);
    // The slices begin at y; not every number of them has one at x.
    double reach = 0.0;
    for (int i = 0; i < slices; ++i)
        reach = std::max(reach, radius * std::sin(2.0 * M_PI * i / slices));
    const double slope = (base - top) / std::hypot(base - top, height);
    return {QStringLiteral("%1 GL_QUAD_STRIP/%2, %3, unit normals outward, z %4")
                .arg(stacks)
                .arg(2 * (slices + 1))
                .arg(box({-reach, -radius, 0.0}, {reach, radius, height}), range(slope, slope))};
}

/// One axis: the shaft, then the head at its end.
QStringList arrow(double length)
{
    return cylinder(16, 1, length / 80.0, length / 80.0, length) + translated(0, 0, length) +
           cylinder(16, 1, length / 10.0, 0.0, length / 5.0);
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
                 "1 GL_LINES/164, x -500..500, y -500..500, z 0..0");
}

QStringList sphere(int divisions, double radius)
{
    return {QStringLiteral("2 GL_TRIANGLE_FAN/%1, %2 GL_QUAD_STRIP/%3, %4, "
                           "unit normals outward, z -1..1")
                .arg(divisions + 2)
                .arg(divisions - 2)
                .arg(2 * (divisions + 1))
                .arg(box({-radius, -radius, -radius}, {radius, radius, radius}))};
}

QStringList placedSphere(double x, int divisions, double radius)
{
    return lines("glPushMatrix()") + translated(x, 0, 0) + lines("glRotated(90, 1, 0, 0)") +
           sphere(divisions, radius) + lines("glPopMatrix()");
}

const char *kIdentity = "glMultMatrixd({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1})";
const char *kView = "glMultMatrixd({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, -300, 1})";
const char *kRoom = "glMultMatrixd({0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1})";

/// From x = -40 to x = 60.
QStringList prism(double width)
{
    const double h = width / 2.0;
    QStringList faces = {
        QStringLiteral("(-1 0 0) ") + box({-40, -h, -h}, {-40, h, h}),
        QStringLiteral("(1 0 0) ") + box({60, -h, -h}, {60, h, h}),
        QStringLiteral("(0 -1 0) ") + box({-40, -h, -h}, {60, -h, h}),
        QStringLiteral("(0 1 0) ") + box({-40, h, -h}, {60, h, h}),
        QStringLiteral("(0 0 -1) ") + box({-40, -h, -h}, {60, h, -h}),
        QStringLiteral("(0 0 1) ") + box({-40, -h, h}, {60, h, h}),
    };
    faces.sort();
    return lines("glPushMatrix()") + lines(kIdentity) +
           QStringList{QStringLiteral("1 GL_QUADS/24, ") + faces.join(QStringLiteral("; "))} +
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
           cylinder(14, 1, 0.3125, 0.3125, length + 4.5) + translated(0, 0, length + 4.5) +
           cylinder(14, 1, 2.5, 0.0, 5.0) + lines("glPopMatrix()") + place +
           (backward ? translated(0, 0, -height) : QStringList()) +
           cylinder(20, 20, backward ? radius : 0.0, backward ? 0.0 : radius, height) +
           lines("glPopMatrix()");
}

QStringList outline(const QStringList &object)
{
    return lines("glPolygonMode(GL_FRONT_AND_BACK, GL_LINE)\n"
                 "glDisable(GL_LIGHTING)\n"
                 "glLineWidth(1)") +
           object +
           lines("glEnable(GL_LIGHTING)\n"
                 "glPolygonMode(GL_FRONT_AND_BACK, GL_FILL)");
}

QStringList everything(bool small)
{
    const double radius = small ? 3.0 : 10.0;
    const double width = small ? 1.5 : 6.0;
    QStringList calls;
    calls += lines("glClear(GL_DEPTH_BUFFER_BIT | GL_COLOR_BUFFER_BIT)\nglPushMatrix()");
    calls += lines(kView);
    calls += lines("glColor3ub(255, 255, 255)\n"
                   "glPointSize(5)\n"
                   "glDisable(GL_LIGHTING)\n"
                   "1 GL_POINTS/1, x 0..0, y 0..0, z 0..0");
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
                   "1 GL_LINES/6, x -250..250, y -250..250, z -250..250\n"
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
    calls += outline(placedSphere(-40, 8, radius * 1.2));
    calls += lines("glColor3ub(128, 128, 128)");
    calls += outline(placedSphere(60, 8, radius * 1.2));
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
    void emissionsThatAreNotFiniteAreNotDrawn();
    void frameWithSelectedLine();
    void pick();
    void pickInAWideView();

private:
    QStringList trace(const char *scene);
    QStringList lastFrame(const char *scene);
    QStringList callsOfPick(const char *scene);
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

void tst_GLCallOrder::emissionsThatAreNotFiniteAreNotDrawn()
{
    QStringList expected =
        lines("glClear(GL_DEPTH_BUFFER_BIT | GL_COLOR_BUFFER_BIT)\nglPushMatrix()") + lines(kView) +
        translated(0, 0, 0);
    expected += lines("glPushMatrix()") + lines(kIdentity) + lines(kIdentity) + axes(25.0) +
                lines("glPopMatrix()");
    for (const double x : {-40.0, -20.0, 20.0, 40.0}) {
        expected += lines("glColor3ub(255, 255, 255)\nglEnable(GL_LIGHTING)");
        expected += placedSphere(x, 16, 10.0);
    }
    expected += lines("glPopMatrix()\nglFlush()");
    compare(lastFrame("infinite"), expected);
}

void tst_GLCallOrder::frameWithSelectedLine()
{
    QStringList expected =
        lines("glClear(GL_DEPTH_BUFFER_BIT | GL_COLOR_BUFFER_BIT)\nglPushMatrix()") + lines(kView) +
        translated(-10, 0, 0);
    expected += lines("glPushMatrix()") + lines(kIdentity) + lines(kIdentity) + axes(25.0) +
                lines("glPopMatrix()");
    for (const double x : {-40.0, 60.0}) {
        expected += lines("glColor3ub(255, 255, 255)\nglEnable(GL_LIGHTING)");
        expected += placedSphere(x, 16, 10.0);
    }
    expected += lines("glColor3ub(100, 100, 100)") + prism(6.0);
    expected += lines("glColor3ub(255, 255, 255)") + outline(prism(6.0 * 1.4));
    expected += lines("glPopMatrix()\nglFlush()");
    compare(lastFrame("line"), expected);
}

QStringList tst_GLCallOrder::callsOfPick(const char *scene)
{
    QStringList calls = trace(scene);
    const int begin = calls.indexOf(QRegularExpression(QStringLiteral("^glSelectBuffer.*")));
    calls = begin < 0 ? QStringList() : calls.mid(begin);
    while (!calls.isEmpty() && calls.last() != QLatin1String("glRenderMode(GL_RENDER)"))
        calls.removeLast();
    if (!calls.value(0).startsWith(QLatin1String("glSelectBuffer(512,")))
        return {};
    return calls.mid(1);
}

/// What a pick draws, and how it ends.
QStringList drawnWithNames()
{
    QStringList calls = lines("glInitNames()\nglPushName(1)\nglPushName(0)");
    calls += placedSphere(-40, 16, 10.0);
    calls += lines("glPopName()\nglPushName(1)");
    calls += placedSphere(60, 16, 10.0);
    calls += lines("glPopName()\nglPopName()\nglPushName(2)\nglPushName(0)");
    calls += prism(6.0);
    return calls + lines("glPopName()\nglPopName()\n"
                         "glMatrixMode(GL_PROJECTION)\nglPopMatrix()\n"
                         "glMatrixMode(GL_MODELVIEW)\nglPopMatrix()\n"
                         "glRenderMode(GL_RENDER)");
}

void tst_GLCallOrder::pick()
{
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
    expected += lines(kView) + lines(kRoom) + translated(-10, 0, 0) + drawnWithNames();
    compare(callsOfPick("pick"), expected);
}

void tst_GLCallOrder::pickInAWideView()
{
    QStringList expected = lines("glRenderMode(GL_SELECT)\n"
                                 "glMatrixMode(GL_PROJECTION)\n"
                                 "glPushMatrix()\n"
                                 "glLoadIdentity()\n"
                                 "glGetIntegerv(GL_VIEWPORT, {0, 0, 800, 200})\n"
                                 // Five pixels around (430, 200 - 90).
                                 "glTranslatef(-12, -4, 0)\n"
                                 "glScalef(160, 40, 1)");
    // Four times as wide as high: 2.4142 / 4.
    expected +=
        lines("glMultMatrixd({0.60355, 0, 0, 0, 0, 2.4142, 0, 0, 0, 0, -1, -1, 0, 0, -2, 0})\n"
              "glMatrixMode(GL_MODELVIEW)\n"
              "glPushMatrix()\n"
              "glLoadIdentity()");
    expected += lines(kView) + translated(-10, 0, 0) + drawnWithNames();
    compare(callsOfPick("line"), expected);
}

QUOREL2_TEST_MAIN(tst_GLCallOrder)
#include "tst_GLCallOrder.moc"
