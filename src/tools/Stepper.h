#pragma once

#include <cstdint>
#include <functional>

#include <QWidget>

class QLineEdit;
class QToolButton;

namespace velmora {

// A pair of small arrows that step a whole number up and down within bounds, beside the field
// that shows the number. The stepper shows no number of its own.
//
// setValue() keeps any value, even one outside the bounds (a number read from the settings
// file is kept as it was); a step moves the value one increment and into the bounds.
class Stepper : public QWidget {
    Q_OBJECT
    Q_PROPERTY(qint64 minimum READ minimum WRITE setMinimum)
    Q_PROPERTY(qint64 maximum READ maximum WRITE setMaximum)
    Q_PROPERTY(qint64 singleStep READ singleStep WRITE setSingleStep)

public:
    explicit Stepper(QWidget* parent = nullptr);

    // As high as the one-line field beside it.
    QSize sizeHint() const override;

    std::int64_t value() const { return m_value; }
    // Does not emit activated(): only the user's steps do.
    void setValue(std::int64_t value) { m_value = value; }

    std::int64_t minimum() const { return m_minimum; }
    std::int64_t maximum() const { return m_maximum; }
    std::int64_t singleStep() const { return m_singleStep; }
    void setMinimum(std::int64_t minimum) { m_minimum = minimum; }
    void setMaximum(std::int64_t maximum) { m_maximum = maximum; }
    void setSingleStep(std::int64_t step) { m_singleStep = step; }

public slots:
    void stepUp();
    void stepDown();

signals:
    // The user stepped to a new value.
    void activated(std::int64_t value);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    QToolButton* m_up;
    QToolButton* m_down;
    std::int64_t m_value = 0;
    std::int64_t m_minimum = 0;
    std::int64_t m_maximum = 99;
    std::int64_t m_singleStep = 1;

    void stepBy(std::int64_t steps);
};

// Keeps a number field, its stepper and the number they edit equal: typing sets the stepper,
// stepping sets the field, and either reports the new number to `changed`. The field takes
// whatever is typed, read by its leading whole number; a text without one is 0.
void pairFieldWithStepper(QLineEdit& field, Stepper& stepper,
                          std::function<void(std::int64_t)> changed);

// Shows a number in a field and its stepper, as loading a page does (nothing is reported).
void showNumber(QLineEdit& field, Stepper& stepper, std::int64_t value);

} // namespace velmora
