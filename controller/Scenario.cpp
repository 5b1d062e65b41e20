#include "Scenario.h"

#include "ScenarioReader.h"

#include <QFile>

// The resource is part of a static library: it has to be asked for by name.
static void initializeResource()
{
    Q_INIT_RESOURCE(quorel2_scenarios);
}

namespace {

struct Setup {
    const char *name;
    bool (*apply)(Scenario *scenario);
};

bool withBody(Scenario *scenario, void (*change)(ControllerBody *body))
{
    if (scenario->bodies.isEmpty())
        return false;
    change(&scenario->bodies.first());
    return true;
}

bool spoilThirdReply(Scenario *scenario, FaultPlan::Kind kind)
{
    scenario->numberedFaults.append({3, {kind, 0}});
    return true;
}

const Setup kSetups[] = {
    {"locked-configuration",
     [](Scenario *s) {
         s->configurationChangeable = false;
         return true;
     }},
    {"tracking-unavailable",
     [](Scenario *s) {
         s->trackingAvailable = false;
         s->measuring = false;
         return true;
     }},
    {"multi-user",
     [](Scenario *s) {
         s->multiUserAvailable = true;
         s->multiUser = true;
         return true;
     }},
    {"multi-user-with-head",
     [](Scenario *s) {
         s->multiUserAvailable = true;
         s->multiUser = true;
         s->multiUserWithHeadAvailable = true;
         s->multiUserWithHead = true;
         return true;
     }},
    {"multi-user-unavailable",
     [](Scenario *s) {
         s->multiUserAvailable = false;
         s->multiUser = false;
         s->multiUserWithHeadAvailable = false;
         s->multiUserWithHead = false;
         return true;
     }},
    {"reference-target",
     [](Scenario *s) {
         if (s->bodies.isEmpty())
             return false;
         s->reference = s->bodies.first().type + " b01";
         return true;
     }},
    {"one-word-reference",
     [](Scenario *s) {
         s->reference = "room";
         return true;
     }},
    {"vimbar-6df",
     [](Scenario *s) {
         s->output6df = true;
         return true;
     }},
    {"untracked-left-out",
     [](Scenario *s) {
         s->omitUntracked = true;
         return true;
     }},
    {"uncalibrated-body",
     [](Scenario *s) {
         return withBody(s, [](ControllerBody *body) { body->calibrated = false; });
     }},
    {"lost-body",
     [](Scenario *s) {
         return withBody(s, [](ControllerBody *body) { body->motion = Motion::Lost; });
     }},
    {"no-bodies",
     [](Scenario *s) {
         s->bodies.clear();
         return true;
     }},
    {"error-on-third-reply",
     [](Scenario *s) { return spoilThirdReply(s, FaultPlan::Kind::Error); }},
    {"garbage-on-third-reply",
     [](Scenario *s) { return spoilThirdReply(s, FaultPlan::Kind::Garbage); }},
    {"silence-on-third-reply",
     [](Scenario *s) { return spoilThirdReply(s, FaultPlan::Kind::Silence); }},
    {"cut-data-line",
     [](Scenario *s) {
         s->dataFault = DataFault::Cut;
         return true;
     }},
    {"silent-data-line",
     [](Scenario *s) {
         s->dataFault = DataFault::Silent;
         return true;
     }},
};

} // namespace

Scenario Scenario::builtIn()
{
    initializeResource();
    Scenario scenario;
    QString error;
    if (!load(QStringLiteral(":/quorel2-controller/default.json"), &scenario, &error))
        qFatal("%s", qPrintable(error));
    return scenario;
}

bool Scenario::fromJson(const QByteArray &text, Scenario *scenario, QString *error)
{
    ScenarioReader reader;
    if (reader.read(text)) {
        *scenario = reader.scenario();
        return true;
    }
    *error = reader.error();
    return false;
}

bool Scenario::load(const QString &fileName, Scenario *scenario, QString *error)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = fileName + QLatin1String(": ") + file.errorString();
        return false;
    }
    if (fromJson(file.readAll(), scenario, error))
        return true;
    error->prepend(fileName + QLatin1String(": "));
    return false;
}

QStringList Scenario::setupNames()
{
    QStringList names;
    for (const Setup &setup : kSetups)
        names.append(QString::fromLatin1(setup.name));
    return names;
}

bool Scenario::applySetup(const QString &name)
{
    for (const Setup &setup : kSetups) {
        if (name == QLatin1String(setup.name))
            return setup.apply(this);
    }
    return false;
}
