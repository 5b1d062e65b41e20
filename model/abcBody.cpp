#include "abcBody.h"

#include "abcLine.h"
#include "abcMarker.h"

#include <QtGlobal>

#include <algorithm>
#include <utility>

abcBody::abcBody(QObject *parent)
    : QObject(parent)
    , m_palette{QColor(255, 0, 0),   QColor(0, 255, 0),   QColor(0, 0, 255),    QColor(255, 255, 0),
                QColor(255, 0, 255), QColor(0, 255, 255), QColor(255, 255, 255)}
{
    clear();
}

abcBody::~abcBody()
{
    deleteObjects();
}

void abcBody::setWarningPresenter(WarningPresenter presenter)
{
    m_warningPresenter = std::move(presenter);
}

void abcBody::clear()
{
    m_loaded = false;
    emit bodyLoaded(false);
    m_name.clear();
    setModified(false);
    clearPendingPose();
    m_baseMatrix = bsMatrix::identity();
    m_lastSavedMatrix = bsMatrix::identity();
    m_undoStack.clear();
    m_redoStack.clear();
    deleteObjects();
}

bool abcBody::loadMarkers(const QVector<bsVector> &positions)
{
    if (m_loaded)
        clear();
    if (positions.size() == 1) {
        const QString title = tr("Error loading body");
        const QString text = tr("Error : Number of markers = 1 (is it a body file ?).\n"
                                "Body not loaded.");
        if (m_warningPresenter)
            m_warningPresenter(title, text);
        else
            qWarning("%s: %s", qUtf8Printable(title), qUtf8Printable(text));
        return false;
    }

    createMarkers(positions);
    m_loaded = true;
    emit bodyLoaded(true);
    colourMarkers();
    return true;
}

void abcBody::exchangeMarkers(const QVector<bsVector> &positions)
{
    deleteObjects();
    createMarkers(positions);
    colourMarkers();
}

void abcBody::createMarkers(const QVector<bsVector> &positions)
{
    m_cog = bsVector();
    for (const bsVector &position : positions) {
        MarkerRecord record;
        record.id = m_markers.size();
        record.position = position;
        m_markers.append(new abcMarker(record));
        m_cog += position;
    }
    m_cog /= static_cast<double>(positions.size());
}

void abcBody::colourMarkers()
{
    for (int index = 0; index < m_markers.size(); ++index)
        m_markers[index]->colour = m_palette[index % m_palette.size()];
}

void abcBody::setEmissions(const QVector<Emission> &emissions)
{
    const int count = std::min(m_markers.size(), emissions.size());
    for (int index = 0; index < count; ++index)
        m_markers[index]->record.emission = emissions[index];
}

void abcBody::setAllEmissions(double ex, double ey, double ez, double angleDeg)
{
    for (abcMarker *marker : qAsConst(m_markers))
        marker->record.emission = Emission{ex, ey, ez, angleDeg};
}

void abcBody::setShowEmissions(bool show)
{
    options.markerEmissions = show;
}

QVector<bsVector> abcBody::markerPositions() const
{
    QVector<bsVector> positions;
    positions.reserve(m_markers.size());
    for (const abcMarker *marker : m_markers)
        positions.append(marker->position());
    return positions;
}

QList<MarkerRecord> abcBody::markerRecords() const
{
    const bsMatrix intoBody = m_baseMatrix.rigidInverse();
    QList<MarkerRecord> records;
    records.reserve(m_markers.size());
    for (const abcMarker *marker : m_markers) {
        MarkerRecord record;
        record.id = marker->record.id;
        record.position = intoBody.transform(marker->record.position);
        record.radius = marker->record.radius;
        record.emission = marker->record.emission;
        records.append(record);
    }
    return records;
}

void abcBody::setPendingPosition(const bsVector &position)
{
    m_pendingPose.position = position;
}

void abcBody::setPendingOrientation(const bsQuaternion &orientation)
{
    m_pendingPose.orientation = orientation;
}

bool abcBody::hasLine(const abcMarker *a, const abcMarker *b) const
{
    return std::any_of(m_lines.cbegin(), m_lines.cend(), [a, b](const abcLine *line) {
        return (line->firstMarker() == a && line->secondMarker() == b) ||
               (line->firstMarker() == b && line->secondMarker() == a);
    });
}

void abcBody::addLine(abcLine *line)
{
    if (line && !m_lines.contains(line))
        m_lines.append(line);
}

void abcBody::removeLine(const abcLine *line)
{
    const auto found = std::find(m_lines.begin(), m_lines.end(), line);
    if (found == m_lines.end())
        return;
    m_lines.erase(found);
    delete line;
}

bool abcBody::saveCurrentBody()
{
    // The pending orientation may come from a matrix that was no rotation.
    bsQuaternion rotation = m_pendingPose.orientation;
    rotation.normalize();
    bsMatrix pending = rotation.toMatrix();
    pending.setColumn(3, m_pendingPose.position, 1.0);

    if (!differs(pending, bsMatrix::identity()) && !differs(m_baseMatrix, m_lastSavedMatrix))
        return false;

    bsMatrix committed = m_baseMatrix * pending;
    committed.orthonormalizeRotation();
    if (!isFinite(committed)) {
        clearPendingPose();
        return false;
    }

    pushUndo(m_lastSavedMatrix);
    m_baseMatrix = committed;
    m_lastSavedMatrix = m_baseMatrix;
    m_redoStack.clear();
    clearPendingPose();
    setModified(true);
    return true;
}

void abcBody::undo()
{
    if (m_undoStack.isEmpty())
        return;
    m_redoStack.append(m_lastSavedMatrix);
    m_baseMatrix = m_undoStack.takeLast();
    m_lastSavedMatrix = m_baseMatrix;
    setModified(true);
}

void abcBody::redo()
{
    if (m_redoStack.isEmpty())
        return;
    pushUndo(m_lastSavedMatrix);
    m_baseMatrix = m_redoStack.takeLast();
    m_lastSavedMatrix = m_baseMatrix;
    setModified(true);
}

void abcBody::clearPendingPose()
{
    m_pendingPose.orientation = bsQuaternion::fromMatrix(bsMatrix::identity());
    m_pendingPose.position = bsMatrix::identity().column(3);
}

void abcBody::deleteObjects()
{
    qDeleteAll(m_markers);
    m_markers.clear();
    qDeleteAll(m_lines);
    m_lines.clear();
}

void abcBody::pushUndo(const bsMatrix &matrix)
{
    if (m_historyLimit != 0) {
        while (static_cast<quint32>(m_undoStack.size()) >= m_historyLimit)
            m_undoStack.removeFirst();
    }
    m_undoStack.append(matrix);
}

void abcBody::setModified(bool modified)
{
    m_modified = modified;
    emit bodyModified(modified);
}
