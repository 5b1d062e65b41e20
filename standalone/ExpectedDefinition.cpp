#include "ExpectedDefinition.h"

#include <QCoreApplication>

#include <cmath>

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(ExpectedDefinition)
};

using Vector = std::array<double, 3>;
using Matrix = std::array<Vector, 3>;

Matrix product(const Matrix &a, const Matrix &b)
{
    Matrix result{};
    for (size_t row = 0; row < 3; ++row) {
        for (size_t column = 0; column < 3; ++column) {
            for (size_t i = 0; i < 3; ++i)
                result[row][column] += a[row][i] * b[i][column];
        }
    }
    return result;
}

Vector product(const Matrix &a, const Vector &v)
{
    Vector result{};
    for (size_t row = 0; row < 3; ++row)
        result[row] = a[row][0] * v[0] + a[row][1] * v[1] + a[row][2] * v[2];
    return result;
}

/// Right-handed turn about one of the axes 0 to 2.
Matrix turnAbout(size_t axis, double angleDeg)
{
    const double angle = angleDeg * std::acos(-1.0) / 180.0;
    const size_t first = (axis + 1) % 3;
    const size_t second = (axis + 2) % 3;
    Matrix result{};
    result[axis][axis] = 1.0;
    result[first][first] = std::cos(angle);
    result[first][second] = -std::sin(angle);
    result[second][first] = std::sin(angle);
    result[second][second] = std::cos(angle);
    return result;
}

double asPrinted(double number, int decimals)
{
    return QString::number(number, 'f', decimals).toDouble();
}

template <typename Numbers>
QString listed(const Numbers &numbers)
{
    QStringList texts;
    for (const double number : numbers)
        texts.append(QString::number(number, 'f', 3));
    return QLatin1Char('(') + texts.join(QStringLiteral(", ")) + QLatin1Char(')');
}

template <typename Numbers>
bool agree(const Numbers &a, const Numbers &b)
{
    for (size_t i = 0; i < a.size(); ++i) {
        // Written so that a NaN does not agree.
        if (!(std::fabs(a[i] - b[i]) <= ExpectedDefinition::kToleranceMm))
            return false;
    }
    return true;
}

} // namespace

ExpectedDefinition::ExpectedDefinition(const QVector<Marker> &markers)
    : m_markers(markers)
{
    resetFrame();
}

void ExpectedDefinition::resetFrame()
{
    m_origin = Vector{};
    m_axes = Matrix{};
    for (size_t i = 0; i < 3; ++i)
        m_axes[i][i] = 1.0;
}

void ExpectedDefinition::originToCentreOfGravity()
{
    if (m_markers.isEmpty())
        return;
    Vector sum{};
    for (const Marker &marker : qAsConst(m_markers)) {
        for (size_t i = 0; i < 3; ++i)
            sum[i] += marker.position[i];
    }
    for (size_t i = 0; i < 3; ++i)
        m_origin[i] = sum[i] / m_markers.size();
}

void ExpectedDefinition::turn(double xDeg, double yDeg, double zDeg)
{
    m_axes = product(m_axes,
                     product(product(turnAbout(0, xDeg), turnAbout(1, yDeg)), turnAbout(2, zDeg)));
}

void ExpectedDefinition::apply()
{
    // The inverse of the frame, rounded as the command prints it.
    Matrix rotation{};
    Vector translation{};
    for (size_t row = 0; row < 3; ++row) {
        double sum = 0.0;
        for (size_t column = 0; column < 3; ++column) {
            rotation[row][column] = asPrinted(m_axes[column][row], 8);
            sum += m_axes[column][row] * m_origin[column];
        }
        translation[row] = asPrinted(-sum, 3);
    }
    for (Marker &marker : m_markers) {
        const Vector turned = product(rotation, marker.position);
        const Vector direction =
            product(rotation, Vector{marker.emission[0], marker.emission[1], marker.emission[2]});
        for (size_t i = 0; i < 3; ++i) {
            marker.position[i] = turned[i] + translation[i];
            marker.emission[i] = direction[i];
        }
    }
    resetFrame();
}

QStringList ExpectedDefinition::differences(const QVector<Marker> &expected,
                                            const QVector<Marker> &held)
{
    QStringList result;
    if (expected.size() != held.size()) {
        result.append(Texts::tr("%1 markers expected, the controller holds %2")
                          .arg(expected.size())
                          .arg(held.size()));
        return result;
    }
    for (int i = 0; i < expected.size(); ++i) {
        const Marker &wanted = expected.at(i);
        const Marker &found = held.at(i);
        if (!agree(wanted.position, found.position)) {
            result.append(Texts::tr("marker %1: position %2 expected, the controller holds %3")
                              .arg(i + 1)
                              .arg(listed(wanted.position), listed(found.position)));
        }
        if (!agree(wanted.emission, found.emission)) {
            result.append(Texts::tr("marker %1: emission %2 expected, the controller holds %3")
                              .arg(i + 1)
                              .arg(listed(wanted.emission), listed(found.emission)));
        }
    }
    return result;
}
