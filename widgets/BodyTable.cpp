#include "BodyTable.h"

#include "ui_BodyTable02Class.h"

#include <model/abcMarker.h>

#include <QHeaderView>
#include <QMenu>
#include <QMouseEvent>

#include <algorithm>
#include <initializer_list>
#include <vector>

namespace {

constexpr int kEmissionColumnWidth = 80;
constexpr int kMarkerColumnWidth = 60;
constexpr int kRowMargin = 8;
/// The records of the controller are rounded: what is smaller is no emission.
constexpr double kEmissionThreshold = 0.001;

bool emits(const Emission &emission)
{
    // Signed on purpose: components that cancel each other out are no emission.
    return emission.x + emission.y + emission.z + emission.angleDeg > kEmissionThreshold;
}

void setRow(QTableWidget *table, int row, std::initializer_list<double> values)
{
    table->setItem(row, 0, new QTableWidgetItem(QString::number(row + 1)));
    int column = 1;
    for (const double value : values) {
        auto *item = new QTableWidgetItem(QString::number(value, 'f', 2));
        item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        table->setItem(row, column++, item);
    }
}

} // namespace

BodyTable::BodyTable(QWidget *parent)
    : QWidget(parent)
    , m_form(std::make_unique<BodyTable02>())
{
    m_form->setupUi(this);
    // The menu opens on the press; what follows it would open the menus of the parents.
    setContextMenuPolicy(Qt::PreventContextMenu);
    setUpTable(m_form->tableWidget_data, dataHeaders());
    setUpTable(m_form->tableWidget_emissions, emissionHeaders());
    // With the last column, which stretches anyway, the three values share the width.
    for (const int column : {1, 2})
        m_form->tableWidget_data->horizontalHeader()->setSectionResizeMode(column,
                                                                           QHeaderView::Stretch);
    fitEmissionColumns();
    showEmissions(false);
}

BodyTable::~BodyTable() = default;

QStringList BodyTable::dataHeaders()
{
    return {tr("Marker"), tr("x [mm]"), tr("y [mm]"), tr("z [mm]")};
}

QStringList BodyTable::emissionHeaders()
{
    return {tr("Marker"), tr("x"), tr("y"), tr("z"), tr("Angle [deg]")};
}

void BodyTable::setContextMenu(QMenu *menu)
{
    m_contextMenu = menu;
    m_form->tableWidget_data->setContextMenu(menu);
}

void BodyTable::showMarkers(const QList<abcMarker *> &markers)
{
    QList<MarkerRecord> records;
    records.reserve(markers.size());
    for (const abcMarker *marker : markers)
        records.append(marker->record);
    showMarkers(records);
}

void BodyTable::showMarkers(const QList<MarkerRecord> &markers)
{
    fillPositions(markers);
    const bool anyEmits =
        std::any_of(markers.cbegin(), markers.cend(),
                    [](const MarkerRecord &marker) { return emits(marker.emission); });
    if (anyEmits)
        fillEmissions(markers);
    showEmissions(anyEmits);
}

void BodyTable::showRawMarkers(int bodyId, const QVector<bsVector> &positions,
                               const QVector<Emission> &emissions)
{
    const int count = std::min(positions.size(), emissions.size());
    std::vector<std::unique_ptr<abcMarker>> owner;
    QList<abcMarker *> markers;
    for (int i = 0; i < count; ++i) {
        const Emission &emission = emissions.at(i);
        owner.push_back(
            std::make_unique<abcMarker>(MarkerRecord(bodyId, positions.at(i), 0.0, 3.0, emission.x,
                                                     emission.y, emission.z, emission.angleDeg)));
        markers.append(owner.back().get());
    }
    showMarkers(markers);
}

void BodyTable::clearTable()
{
    m_form->tableWidget_data->setRowCount(0);
    m_form->tableWidget_emissions->setRowCount(0);
    showEmissions(false);
}

void BodyTable::fitEmissionColumns()
{
    for (int column = 1; column <= 3; ++column)
        m_form->tableWidget_emissions->setColumnWidth(column, kEmissionColumnWidth);
}

void BodyTable::setTabOrderBehind(QWidget *widget)
{
    QWidget::setTabOrder(widget, m_form->tableWidget_data);
    QWidget::setTabOrder(m_form->tableWidget_data, m_form->tableWidget_emissions);
}

void BodyTable::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        m_form->retranslateUi(this);
        setHeaders(m_form->tableWidget_data, dataHeaders());
        setHeaders(m_form->tableWidget_emissions, emissionHeaders());
    }
    QWidget::changeEvent(event);
}

void BodyTable::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::RightButton && m_contextMenu)
        m_contextMenu->exec(event->globalPos());
}

void BodyTable::setUpTable(QTableWidget *table, const QStringList &headers)
{
    table->setColumnCount(headers.size());
    table->verticalHeader()->hide();
    // Low rows: the markers of a large body are seen at once.
    table->verticalHeader()->setDefaultSectionSize(table->fontMetrics().height() + kRowMargin);
    table->horizontalHeader()->setSectionsClickable(false);
    table->horizontalHeader()->setHighlightSections(false);
    table->horizontalHeader()->setStretchLastSection(true);
    setHeaders(table, headers);
    table->setContextMenuPolicy(Qt::PreventContextMenu);
    table->setSelectionMode(QAbstractItemView::NoSelection);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
}

void BodyTable::setHeaders(QTableWidget *table, const QStringList &headers)
{
    for (int column = 0; column < headers.size(); ++column) {
        auto *item = new QTableWidgetItem(headers.at(column));
        // A title stands where the values of its column stand.
        item->setTextAlignment((column == 0 ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignVCenter);
        table->setHorizontalHeaderItem(column, item);
    }
    // The numbers of the markers are short; the room is for the values.
    table->setColumnWidth(
        0, std::max(table->horizontalHeader()->sectionSizeHint(0), kMarkerColumnWidth));
}

void BodyTable::fillPositions(const QList<MarkerRecord> &markers)
{
    QTableWidget *table = m_form->tableWidget_data;
    table->clearContents();
    table->setRowCount(markers.size());
    for (int row = 0; row < markers.size(); ++row) {
        const bsVector &position = markers.at(row).position;
        setRow(table, row, {position.x, position.y, position.z});
    }
}

void BodyTable::fillEmissions(const QList<MarkerRecord> &markers)
{
    QTableWidget *table = m_form->tableWidget_emissions;
    table->clearContents();
    table->setRowCount(markers.size());
    for (int row = 0; row < markers.size(); ++row) {
        const Emission &emission = markers.at(row).emission;
        setRow(table, row, {emission.x, emission.y, emission.z, emission.angleDeg});
    }
}

void BodyTable::showEmissions(bool show)
{
    m_form->label_emissions->setVisible(show);
    m_form->tableWidget_emissions->setVisible(show);
}
