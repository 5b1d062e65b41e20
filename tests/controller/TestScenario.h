#pragma once

#include <controller/Scenario.h>

#include <QByteArray>

/// Reads a scenario that a test is written around; ends the test program if it is wrong.
inline Scenario scenarioOf(const QByteArray &json)
{
    Scenario scenario;
    QString error;
    if (!Scenario::fromJson(json, &scenario, &error))
        qFatal("%s", qPrintable(error));
    return scenario;
}

/// Two standard bodies and a vimbar, with few and plain numbers.
inline Scenario smallScenario()
{
    return scenarioOf(R"({
        "backend": "1.17.2",
        "bodies": [
            {"type": "standard", "description": "Wand", "motion": "still",
             "position": [100, 200, 300],
             "markers": [[1, 2, 3], [-4.5, 0.0004, 1234.5678], [7, 8, 9]],
             "emissions": [[0, 0, 1, 30], [0, 0, 0, 0], [0.6, 0, 0.8, 12.5]]},
            {"type": "standard", "calibrated": false, "targetType": "tt_5dof",
             "markers": [[0, 0, 0]]},
            {"type": "vimbar", "description": "Vimbar right", "motion": "still",
             "position": [-1, -2, -3], "anglesDeg": [90, 0, 0],
             "markers": [[10, 0, 0], [0, 20, 0], [0, 0, 30]]}
        ]
    })");
}
