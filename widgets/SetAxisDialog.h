#pragma once

#include <model/abcAxis.h>

#include <QDialog>

#include <memory>

namespace Ui {
class SetAxisDialogClass;
}

/// Asks which axis of the body is to point from the first chosen marker to the second, and which of
/// the two others is to be preserved; the third follows and is shown.
class SetAxisDialog : public QDialog {
    Q_OBJECT

public:
    explicit SetAxisDialog(QWidget *parent);
    ~SetAxisDialog() override;

signals:
    /// The user has confirmed. The dialog has been accepted before. The two axes differ.
    void setAxis(abcAxis axisToSet, abcAxis axisToKeep);

public slots:
    /// Offers the two axes other than the one with this index, the lower one chosen.
    void onAxisToSetChoice(int index);
    /// Shows the third axis. An index without an item changes nothing.
    void onAxisToPreserveChoice(int index);
    /// Emits setAxis() with what is chosen.
    void validateSetAxis();

protected:
    void changeEvent(QEvent *event) override;

private:
    void retranslate();
    /// The axis that the item at @p index of the preserved axes names; -1 if there is no such item.
    int axisToPreserve(int index) const;

    std::unique_ptr<Ui::SetAxisDialogClass> m_form;
};
