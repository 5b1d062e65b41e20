#pragma once

#include <model/Emission.h>
#include <model/MarkerRecord.h>
#include <model/bsVector.h>

#include <QList>
#include <QPointer>
#include <QStringList>
#include <QVector>
#include <QWidget>

#include <memory>

class QMenu;
class QTableWidget;
class abcMarker;

namespace Ui {
class BodyTable02Class;
}
using BodyTable02 = Ui::BodyTable02Class;

/// The body's markers as numbers, to read only: positions in millimetres and, if some marker emits,
/// the directions of emission and the opening angles in degrees. Values are shown in the frame in
/// which they are given, with two decimals; markers are numbered from 1.
class BodyTable : public QWidget {
    Q_OBJECT

public:
    explicit BodyTable(QWidget *parent);
    ~BodyTable() override;

    /// Opened by a right press on the widget or on the marker table, not on the emission table.
    /// @param menu  stays the caller's
    void setContextMenu(QMenu *menu);

    void showMarkers(const QList<abcMarker *> &markers);
    void showMarkers(const QList<MarkerRecord> &markers);
    /// Shows as many markers as both sequences have.
    /// @param bodyId     given to each of the markers; not shown
    /// @param positions  in marker order
    void showRawMarkers(int bodyId, const QVector<bsVector> &positions,
                        const QVector<Emission> &emissions);
    /// Leaves no rows and hides the emissions.
    void clearTable();
    /// Gives the columns of the emission direction their width; to be called on each resize.
    void fitEmissionColumns();
    /// The Tab key leads from @p widget into the tables.
    void setTabOrderBehind(QWidget *widget);

protected:
    void changeEvent(QEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;

private:
    /// Column titles of the two tables.
    static QStringList dataHeaders();
    static QStringList emissionHeaders();

    void setUpTable(QTableWidget *table, const QStringList &headers);
    void setHeaders(QTableWidget *table, const QStringList &headers);
    void fillPositions(const QList<MarkerRecord> &markers);
    void fillEmissions(const QList<MarkerRecord> &markers);
    void showEmissions(bool show);

    std::unique_ptr<BodyTable02> m_form;
    QPointer<QMenu> m_contextMenu;
};
