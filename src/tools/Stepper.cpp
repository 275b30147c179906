#include "tools/Stepper.h"

#include <algorithm>
#include <utility>

#include <QKeyEvent>
#include <QLineEdit>
#include <QToolButton>
#include <QVBoxLayout>

#include "core/archive/Value.h"

namespace velmora {

namespace {

QToolButton* makeArrow(Qt::ArrowType arrow, const char* name, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setObjectName(QLatin1String(name));
    button->setArrowType(arrow);
    button->setAutoRepeat(true);
    button->setFocusPolicy(Qt::NoFocus);
    button->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    button->setIconSize(QSize(8, 8));
    return button;
}

} // namespace

Stepper::Stepper(QWidget* parent)
    : QWidget(parent)
    , m_up(makeArrow(Qt::UpArrow, "stepUp", this))
    , m_down(makeArrow(Qt::DownArrow, "stepDown", this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_up);
    layout->addWidget(m_down);
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(m_up, &QToolButton::clicked, this, &Stepper::stepUp);
    connect(m_down, &QToolButton::clicked, this, &Stepper::stepDown);
}

QSize Stepper::sizeHint() const {
    return {16, QLineEdit().sizeHint().height()};
}

void Stepper::stepUp() {
    stepBy(1);
}

void Stepper::stepDown() {
    stepBy(-1);
}

void Stepper::stepBy(std::int64_t steps) {
    const std::int64_t stepped = std::clamp(m_value + steps * m_singleStep, m_minimum, m_maximum);
    if (stepped != m_value) {
        m_value = stepped;
        emit activated(m_value);
    }
}

void Stepper::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Up:
        stepUp();
        break;
    case Qt::Key_Down:
        stepDown();
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

void pairFieldWithStepper(QLineEdit& field, Stepper& stepper,
                          std::function<void(std::int64_t)> changed) {
    QObject::connect(&field, &QLineEdit::textEdited, &stepper,
                     [&stepper, changed](const QString& text) {
                         // Read as a number stored as text is read: "12 days" is 12.
                         const std::int64_t value = Value(text.toStdString()).toInteger();
                         stepper.setValue(value);
                         changed(value);
                     });
    QObject::connect(&stepper, &Stepper::activated, &field,
                     [&field, changed = std::move(changed)](std::int64_t value) {
                         field.setText(QString::number(value));
                         changed(value);
                     });
}

void showNumber(QLineEdit& field, Stepper& stepper, std::int64_t value) {
    field.setText(QString::number(value));
    stepper.setValue(value);
}

} // namespace velmora
