#pragma once

#include "ExpectedDefinition.h"
#include "StepPlayer.h"

#include <QPoint>
#include <QString>
#include <QVector>

#include <functional>

class BodyReports;
class DemoScene;
class HostCommandService;
class QAbstractItemView;
class QAction;
class QComboBox;

/// What all adjustments of the demonstration work on; none of it is owned.
struct DemoParts {
    HostCommandService *service;
    DemoScene *scene;
    StepPlayer *player;
    BodyReports *reports;
    QAction *entry; ///< opens the dialog
};

/// An entry of the dialog's list of bodies.
struct DemoBody {
    int index = -1; ///< in the list; -1: none
    QString type;
    int number = 0; ///< from 1
    /// A calibrated standard body with balls as markers and three axes: everything can be done
    /// with it.
    bool isSuitable = false;
};

/// One adjustment of the demonstration: the steps that a user takes from the menu to OK, and what
/// the controller must hold of the body afterwards.
class DemoAdjustment {
public:
    explicit DemoAdjustment(const DemoParts &parts);
    virtual ~DemoAdjustment();
    DemoAdjustment(const DemoAdjustment &) = delete;
    DemoAdjustment &operator=(const DemoAdjustment &) = delete;

    virtual QVector<DemoStep> steps() = 0;

    /// 0 before a body was chosen.
    int bodyNumber() const { return m_body.number; }
    /// Asks the controller for the body and tells what it found, in a sentence for the user.
    /// @return false if the controller does not hold what is expected
    bool check(QString *report);

protected:
    // Steps that all adjustments take. Names are those of the pictures.
    DemoStep openMenu(const QString &name);
    DemoStep openDialog(const QString &name);
    /// Opens the dialog's list of bodies.
    DemoStep openBodyList(const QString &name);
    /// Chooses from the open list.
    /// @param body  asked when the step comes
    DemoStep chooseBody(const QString &name, const std::function<DemoBody()> &body);
    DemoStep clickButton(const QString &name, const char *button,
                         const std::function<bool()> &done);
    /// OK, after which the controller must hold what is expected.
    DemoStep close(const QString &name);

    QVector<DemoBody> listedBodies() const;
    QComboBox *bodyList() const;
    /// Where in an open list's viewport an entry is seen, after it was scrolled into view.
    static QPoint placeInList(QAbstractItemView *list, int row);
    /// Begins to expect something of a body: what the controller holds of it now.
    /// @return a sentence for the user if the controller does not tell
    QString adopt(const DemoBody &body);

    const DemoParts &parts() const { return m_parts; }
    ExpectedDefinition &expected() { return m_expected; }
    const ExpectedDefinition &expected() const { return m_expected; }

private:
    QString readDefinition(QVector<ExpectedDefinition::Marker> *markers) const;

    DemoParts m_parts;
    DemoBody m_body;
    ExpectedDefinition m_expected;
};
