#include "scan/ScanViewEvent.h"

#include "ui_ScanViewEvent.h"

namespace velmora {

ScanViewEvent::ScanViewEvent(EventId event, QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::ScanViewEvent>())
    , m_event(event) {
    m_ui->setupUi(this);
    setWindowModality(Qt::WindowModal);
    connect(m_ui->closeButton, &QPushButton::clicked, this, &QDialog::accept);
}

ScanViewEvent::~ScanViewEvent() = default;

} // namespace velmora
