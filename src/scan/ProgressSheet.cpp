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
    connect(m_ui->progressCancel, &QPushButton::clicked, this, &ProgressSheet::reject);
}

ProgressSheet::~ProgressSheet() = default;

void ProgressSheet::setPermille(int permille) {
    m_ui->progressBar->setValue(permille);
}

void ProgressSheet::setCancellable(bool cancellable) {
    m_ui->progressCancel->setEnabled(cancellable);
}

void ProgressSheet::reject() {
    if (m_ui->progressCancel->isEnabled()) {
        m_ui->progressCancel->setEnabled(false);
        emit cancelRequested();
    }
}

void ProgressSheet::closeEvent(QCloseEvent* event) {
    event->ignore();
    reject();
}

} // namespace velmora
