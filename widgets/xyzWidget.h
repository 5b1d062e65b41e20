#pragma once

#include "bsDoubleWidget.h"

#include <QString>
#include <QWidget>

class QGroupBox;

/// Three bsDoubleWidgets for the x, y and z components of one vector quantity, reported as one
/// triple. Unit and frame are those that the user of the widget gives it.
///
/// Signals always carry the current values of all three components.
class xyzWidget : public QWidget {
    Q_OBJECT
    Q_PROPERTY(double xValue READ xValue WRITE setXValue)
    Q_PROPERTY(double yValue READ yValue WRITE setYValue)
    Q_PROPERTY(double zValue READ zValue WRITE setZValue)
    Q_PROPERTY(QString xLabel READ xLabel WRITE setXLabel)
    Q_PROPERTY(QString yLabel READ yLabel WRITE setYLabel)
    Q_PROPERTY(QString zLabel READ zLabel WRITE setZLabel)
    Q_PROPERTY(QString groupTitle READ groupTitle WRITE setGroupTitle)
    Q_PROPERTY(bool horizontal READ isHorizontal WRITE setLayoutHorizontal)

public:
    /// The defaults are what a form gets that creates the widget with a parent only. Range and
    /// wrapping as in bsDoubleWidget, the same for each component.
    explicit xyzWidget(QWidget *parent, bsDoubleMode mode = WheelOnly, double minimum = 0.0,
                       double maximum = 100.0, bool wrapping = false);
    ~xyzWidget() override;

    virtual double xValue() const;
    virtual double yValue() const;
    virtual double zValue() const;
    virtual QString xLabel() const;
    virtual QString yLabel() const;
    virtual QString zLabel() const;
    /// The components stand side by side.
    virtual bool isHorizontal() const;

    virtual void setSuffix(const QString &suffix);
    virtual void setStep(double step);
    virtual void setMode(bsDoubleMode mode);
    /// Puts the components into a frame with a title, or takes them out of it.
    virtual void showGroupBox(bool show);
    virtual void setGroupTitle(const QString &title);
    virtual QString groupTitle() const;
    /// bsDoubleWidget::setQuantity() of the components: what the triple is, for example "Body
    /// position".
    void setQuantity(const QString &quantity);

    /// An editing gesture of a component is open.
    bool isEditing() const;
    /// bsDoubleWidget::finishEditing() of the components: nothing typed is lost.
    void finishEditing();

signals:
    /// A component changed.
    void valueChanged(double x, double y, double z);
    /// An editing gesture of a component started.
    void xyzEditingBegin();
    /// An editing gesture of a component ended.
    void xyzEditingFinished();

public slots:
    /// Nothing happens if no component changes by more than 1e-5. Otherwise all are set and one
    /// valueChanged() tells what the components hold afterwards. Begins no gesture.
    virtual void setValues(double x, double y, double z);
    /// setValues() relative to the current values.
    virtual void adjustValues(double x, double y, double z);
    virtual void setXValue(double value);
    virtual void setYValue(double value);
    virtual void setZValue(double value);
    virtual void setLabels(const QString &xLabel, const QString &yLabel, const QString &zLabel);
    virtual void setXLabel(const QString &label);
    virtual void setYLabel(const QString &label);
    virtual void setZLabel(const QString &label);
    /// bsDoubleWidget::reset() of x, y and z, in this order.
    virtual void reset();
    /// Lays the components out anew, side by side or one above the other, with the margins of the
    /// style (the first layout has none).
    virtual void setLayoutHorizontal(bool horizontal);
    virtual void setXRange(double minimum, double maximum);
    virtual void setYRange(double minimum, double maximum);
    virtual void setZRange(double minimum, double maximum);
    virtual void setXWrapping(bool wrapping);
    virtual void setYWrapping(bool wrapping);
    virtual void setZWrapping(bool wrapping);

private slots:
    void xyzChanged(double value);

private:
    bsDoubleWidget *createComponent(bsDoubleMode mode, double minimum, double maximum,
                                    bool wrapping, const QString &label, const QColor &color);

    QGroupBox *m_groupBox = nullptr;
    bsDoubleWidget *m_x = nullptr;
    bsDoubleWidget *m_y = nullptr;
    bsDoubleWidget *m_z = nullptr;
    bool m_horizontal = true;
};
