#pragma once

#include "Scenario.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>

#include <functional>

/// Reads one scenario from JSON and stops at the first mistake, of which it keeps the place.
class ScenarioReader {
public:
    /// @return false for a mistake; error() tells it
    bool read(const QByteArray &text);

    const Scenario &scenario() const { return m_scenario; }
    const QString &error() const { return m_error; }

private:
    using ValueReader = std::function<bool(const QJsonValue &value, const QString &place)>;
    struct Key {
        const char *name;
        bool required;
        ValueReader read;
    };

    // Each returns false after a mistake; places are written like bodies[2].markers[0].
    bool fail(const QString &place, const char *what);
    bool readObject(const QJsonValue &value, const QString &place, const QVector<Key> &keys);
    bool readList(const QJsonValue &value, const QString &place, int maximumCount,
                  const ValueReader &readItem);
    ValueReader flag(bool *target);
    ValueReader text(QByteArray *target, int maximumLength);
    /// A word of letters, digits and underscores.
    ValueReader word(QByteArray *target);
    ValueReader wholeNumber(int *target, int lowest, int highest);
    ValueReader vector(Vector3 *target, double largest);
    template <typename Enum>
    ValueReader choice(Enum *target, const QVector<QPair<const char *, Enum>> &choices);

    bool readRoot(const QJsonObject &root);
    bool readBackend(const QJsonValue &value, const QString &place);
    bool readType(const QJsonValue &value, const QString &place);
    bool readBody(const QJsonValue &value, const QString &place);
    bool readEmission(const QJsonValue &value, const QString &place, ControllerEmission *emission);
    bool readActiveOutput(const QJsonValue &value, const QString &place);
    bool readReplyFault(const QJsonValue &value, const QString &place);
    bool readRequestFault(const QJsonValue &value, const QString &place);
    bool readSetup(const QJsonValue &value, const QString &place);
    ValueReader faultKind(FaultPlan::Fault *fault);
    bool checkWhole();

    Scenario m_scenario;
    QString m_error;
};
