#include "scan/ProgressSheet.h"

#include <QCloseEvent>

#include "ui_ProgressSheet.h"

namespace velmora {

ProgressSheet::ProgressSheet(const QString& label, QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::ProgressSheet>()) {
    m_ui->setupUi(this);
    m_ui->progressLabel->setText(label);
    setWindowModality(Qt::WindowModal);
}

ProgressSheet::~ProgressSheet() = default;

void ProgressSheet::setPermille(int permille) {
    m_ui->progressBar->setValue(permille);
}

void ProgressSheet::closeEvent(QCloseEvent* event) {
    event->ignore();
}

} // namespace velmora
