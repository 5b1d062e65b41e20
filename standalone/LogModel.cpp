#include "LogModel.h"

LogModel::LogModel(const QStringList &headers, int limit, QObject *parent)
    : QAbstractTableModel(parent)
    , m_headers(headers)
    , m_limit(limit)
{
}

void LogModel::append(const QVector<Row> &rows)
{
    if (rows.isEmpty())
        return;
    m_total += static_cast<quint64>(rows.size());
    // Of a burst larger than the log only the end will be seen.
    const int added = qMin(rows.size(), m_limit);
    const int surplus = static_cast<int>(m_rows.size()) + added - m_limit;
    if (surplus > 0) {
        // Somewhat more than needed, so that a full log is not cut for every row.
        const int removed = qMin(qMax(surplus, m_limit / 10), static_cast<int>(m_rows.size()));
        beginRemoveRows(QModelIndex(), 0, removed - 1);
        m_rows.erase(m_rows.begin(), m_rows.begin() + removed);
        endRemoveRows();
    }
    const int first = static_cast<int>(m_rows.size());
    beginInsertRows(QModelIndex(), first, first + added - 1);
    m_rows.insert(m_rows.end(), rows.cend() - added, rows.cend());
    endInsertRows();
}

void LogModel::clear()
{
    beginResetModel();
    m_rows.clear();
    m_total = 0;
    endResetModel();
}

int LogModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int LogModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_headers.size();
}

QVariant LogModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount() || index.column() >= columnCount())
        return QVariant();
    const Row &row = m_rows[static_cast<size_t>(index.row())];
    switch (role) {
    case Qt::DisplayRole:
        return row.cells.value(index.column());
    case Qt::ToolTipRole:
        // Only where the text is likely to be cut off.
        return row.cells.value(index.column()).size() > 60 ? row.cells.value(index.column())
                                                           : QVariant();
    case Qt::TextAlignmentRole:
        return static_cast<int>(
            (m_rightAligned.contains(index.column()) ? Qt::AlignRight : Qt::AlignLeft) |
            Qt::AlignVCenter);
    case SeverityRole:
        return row.severity;
    default:
        return QVariant();
    }
}

QVariant LogModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return QVariant();
    if (role == Qt::DisplayRole)
        return m_headers.value(section);
    if (role == Qt::TextAlignmentRole)
        return static_cast<int>(
            (m_rightAligned.contains(section) ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    return QVariant();
}
