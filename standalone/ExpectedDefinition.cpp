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

Vector difference(const Vector &a, const Vector &b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

double dot(const Vector &a, const Vector &b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector cross(const Vector &a, const Vector &b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// @return false and nothing changed for a vector without direction
bool normalize(Vector *vector)
{
    constexpr double kShortest = 1e-6;
    const double length = std::sqrt(dot(*vector, *vector));
    if (!(length > kShortest))
        return false;
    for (double &component : *vector)
        component /= length;
    return true;
}

/// The rotation next to a matrix that is almost one: halfway to its inverse transposed, again and
/// again, doubles the right digits each time.
/// @return false if there is none near it
bool nearestRotation(Matrix *matrix)
{
    constexpr double kFarthest = 0.01;
    const Matrix given = *matrix;
    for (int round = 0; round < 6; ++round) {
        const Matrix m = *matrix;
        // The rows of the inverse transposed are the cross products of the rows.
        const Matrix cofactors = {cross(m[1], m[2]), cross(m[2], m[0]), cross(m[0], m[1])};
        const double determinant = dot(m[0], cofactors[0]);
        if (!(determinant > 0.5))
            return false;
        for (size_t row = 0; row < 3; ++row) {
            for (size_t column = 0; column < 3; ++column)
                (*matrix)[row][column] =
                    (m[row][column] + cofactors[row][column] / determinant) / 2.0;
        }
    }
    for (size_t row = 0; row < 3; ++row) {
        for (size_t column = 0; column < 3; ++column) {
            if (!(std::fabs((*matrix)[row][column] - given[row][column]) < kFarthest))
                return false;
        }
    }
    return true;
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

bool ExpectedDefinition::setAxis(int axisToSet, int axisToKeep, int fromMarker, int toMarker)
{
    const auto isAxis = [](int index) { return index >= 0 && index < 3; };
    const auto isMarker = [this](int index) { return index >= 0 && index < m_markers.size(); };
    if (!isAxis(axisToSet) || !isAxis(axisToKeep) || axisToSet == axisToKeep ||
        !isMarker(fromMarker) || !isMarker(toMarker))
        return false;
    Vector set = difference(m_markers.at(toMarker).position, m_markers.at(fromMarker).position);
    if (!normalize(&set))
        return false;
    // Of the kept axis, what is at right angles to the axis that is set.
    Vector kept = axis(axisToKeep);
    const double along = dot(kept, set);
    for (size_t i = 0; i < 3; ++i)
        kept[i] -= along * set[i];
    if (!normalize(&kept))
        return false;
    const bool isNext = (axisToSet + 1) % 3 == axisToKeep;
    const Vector third = isNext ? cross(set, kept) : cross(kept, set);
    const int calculated = 3 - axisToSet - axisToKeep;
    for (size_t row = 0; row < 3; ++row) {
        m_axes[row][static_cast<size_t>(axisToSet)] = set[row];
        m_axes[row][static_cast<size_t>(axisToKeep)] = kept[row];
        m_axes[row][static_cast<size_t>(calculated)] = third[row];
    }
    return true;
}

bool ExpectedDefinition::alignWithRoom(const std::array<double, 9> &rotation)
{
    // An axis of the frame must be the room's own once the body's rotation has taken it into the
    // room: the frame is the inverse, whose rows are the columns of the line.
    Matrix inverse{};
    for (size_t row = 0; row < 3; ++row) {
        for (size_t column = 0; column < 3; ++column)
            inverse[row][column] = rotation[3 * row + column];
    }
    if (!nearestRotation(&inverse))
        return false;
    m_axes = inverse;
    return true;
}

ExpectedDefinition::Vector ExpectedDefinition::axis(int index) const
{
    const auto column = static_cast<size_t>(index);
    return {m_axes[0][column], m_axes[1][column], m_axes[2][column]};
}

ExpectedDefinition::Vector ExpectedDefinition::inFrame(const Vector &position) const
{
    const Vector fromOrigin = difference(position, m_origin);
    return {dot(axis(0), fromOrigin), dot(axis(1), fromOrigin), dot(axis(2), fromOrigin)};
}

QVector<std::array<double, 3>> ExpectedDefinition::positionsInFrame() const
{
    QVector<Vector> positions;
    for (const Marker &marker : m_markers)
        positions.append(inFrame(marker.position));
    return positions;
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
