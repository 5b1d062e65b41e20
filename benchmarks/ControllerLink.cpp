#include "ControllerLink.h"

#include "Comparison.h"
#include "MarkerCloud.h"

#include <controller/Scenario.h>
#include <dialog/BodyAdjustmentDialog.h>
#include <standalone/BackendVersionText.h>

#include <QTimer>

namespace {

constexpr quint32 kSeed = 1;
constexpr int kConnectLimitMs = 10000;

Scenario scenarioOf(const QVector<int> &markerCounts)
{
    Scenario scenario;
    scenario.types = {{"standard", "Standard body"}};
    for (const int count : markerCounts) {
        ControllerBody body;
        body.type = "standard";
        body.description = QByteArray::number(count) + " markers";
        const QVector<bsVector> positions = cloudPositions(count);
        const QVector<Emission> emissions = cloudEmissions(count);
        for (int i = 0; i < count; ++i) {
            const bsVector &position = positions.at(i);
            const Emission &emission = emissions.at(i);
            ControllerMarker marker;
            marker.position = {position.x, position.y, position.z};
            marker.emission.direction = {emission.x, emission.y, emission.z};
            marker.emission.angleDeg = emission.angleDeg;
            body.markers.append(marker);
        }
        scenario.bodies.append(body);
    }
    return scenario;
}

} // namespace

ControllerLink::ControllerLink(const QVector<int> &markerCounts)
    : m_controller(scenarioOf(markerCounts), kSeed)
    , m_service(&m_connection, &m_dataReceiver)
    , m_versions(unknownBackendVersion())
{
    require(m_controller.start(), "the simulated controller does not start");
    m_connection.open(m_controller.address().toString(), m_controller.port());
    require(m_connection.waitForConnected(kConnectLimitMs), "there is no connection");
    QByteArray version;
    m_service.query("backend version", &version);
    require(parseBackendVersion(version, &m_versions), "the controller tells no version");

    QObject::connect(&m_service, &HostCommandService::exchanged, &m_service,
                     [this](const Exchange &exchange) {
                         ++m_exchangeCount;
                         m_lastExchange = exchange;
                     });
    QObject::connect(&m_service, &HostCommandService::messagePosted, &m_service,
                     [](const QDateTime &, const QString &, int, const QString &text) {
                         require(false,
                                 qPrintable(QStringLiteral("the dialog says \"%1\"").arg(text)));
                     });
}

void ControllerLink::runInDialog(const std::function<void(BodyAdjustmentDialog &)> &script)
{
    BodyAdjustmentDialog dialog(&m_service, nullptr, &m_versions);
    bool done = false;
    QTimer untilUp;
    QObject::connect(&untilUp, &QTimer::timeout, &dialog, [&] {
        if (!dialog.isVisible())
            return;
        untilUp.stop();
        script(dialog);
        done = true;
        dialog.on_ok_button_clicked();
    });
    untilUp.start(0);
    dialog.update_and_exec();
    require(done, "the dialog was closed too early");
}
