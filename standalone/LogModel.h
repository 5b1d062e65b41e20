#pragma once

#include <QAbstractTableModel>
#include <QStringList>
#include <QVector>

#include <deque>

/// Rows of text that only grow at the end, with a bound: when there are too many, the oldest tenth
/// goes. Adding costs the same however many there are.
class LogModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Severity { Normal, Warning, Failure };
    struct Row {
        QStringList cells; ///< one for each column
        Severity severity = Normal;
    };

    static constexpr int kDefaultLimit = 10000;
    /// Role of a row's Severity.
    static constexpr int SeverityRole = Qt::UserRole;

    /// @param limit  most rows kept, at least 1
    explicit LogModel(const QStringList &headers, int limit = kDefaultLimit,
                      QObject *parent = nullptr);

    /// Columns whose texts stand at the right, as numbers do.
    void setRightAligned(const QVector<int> &columns) { m_rightAligned = columns; }

    void append(const QVector<Row> &rows);
    void clear();
    /// Rows added since the beginning or the last clear(), those that are gone included.
    quint64 totalRows() const { return m_total; }

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    QStringList m_headers;
    int m_limit;
    QVector<int> m_rightAligned;
    std::deque<Row> m_rows;
    quint64 m_total = 0;
};
