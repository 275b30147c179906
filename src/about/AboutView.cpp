#include "about/AboutView.h"

#include <QApplication>
#include <QDesktopServices>
#include <QMouseEvent>
#include <QShowEvent>
#include <QTextCursor>
#include <QUrl>

#include "core/Version.h"
#include "ui_AboutView.h"

namespace velmora {

namespace {

// The bold lead-in of the warning: its first eight characters.
constexpr qsizetype kWarningLeadLength = 8;

QTextCharFormat warningFormat(bool bold) {
    QFont font = QApplication::font();
    font.setPointSize(11);
    font.setBold(bold);
    QTextCharFormat format;
    format.setFont(font);
    format.setForeground(QColor::fromRgbF(0.33f, 0.33f, 0.33f, 1.0f));
    return format;
}

} // namespace

AboutView::AboutView(QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::AboutView>()) {
    m_ui->setupUi(this);
    setWindowModality(Qt::WindowModal);
    QFont underlined = m_ui->webLink->font();
    underlined.setUnderline(true);
    m_ui->webLink->setFont(underlined);
    m_ui->webLink->setCursor(Qt::PointingHandCursor);
    m_ui->webLink->installEventFilter(this);
    connect(m_ui->closeButton, &QPushButton::clicked, this, &AboutView::onClose);
}

AboutView::~AboutView() = default;

QString AboutView::versionAndWarranty() {
    return tr("Velmora Version: %1").arg(QString::fromLatin1(kVersion)) +
           QStringLiteral(
               "\n\nLIMITED WARRANTY\n---------------------\nTHIS PROGRAM AND ACCOMPANYING WRITTEN "
               "MATERIALS ARE PROVIDED \\AS IS\\ WITHOUT WARRANTIES OF ANY KIND, EITHER EXPRESS "
               "OR IMPLIED, INCLUDING, BUT NOT LIMITED TO THE IMPLIED WARRANTIES OF "
               "MERCHANTABILITY OR FITNESS FOR A PARTICULAR PURPOSE. NEITHER THE AUTHOR NOR "
               "ANYONE ELSE WHO HAS BEEN INVOLVED IN THE CREATION, PRODUCTION OR DELIVERY OF "
               "THIS PRODUCT SHALL BE LIABLE FOR ANY DIRECT, INDIRECT, CONSEQUENTIAL OR "
               "INCIDENTAL DAMAGES ARISING OUT OF THE USE OR INABILITY TO USE SUCH PRODUCT EVEN "
               "IF THE AUTHOR HAS BEEN ADVISED OF THE POSSIBILITY OF SUCH DAMAGES.");
}

QString AboutView::warning() {
    return QStringLiteral(
        "Warning: This software is protected by copyright law and international treaties. "
        "Unauthorized reproduction or distribution of this program, may result in severe civil "
        "or criminal penalties, and will be prosecuted to the fullest extent of the law.");
}

void AboutView::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (!event->spontaneous()) {
        viewWillAppear();
    }
}

void AboutView::viewWillAppear() {
    m_ui->infoText->setPlainText(versionAndWarranty());
    appendWarning();
}

void AboutView::appendWarning() {
    // Appended, not replaced: a sheet shown twice would show the warning twice, which is why
    // the window makes a new sheet each time.
    QTextCursor cursor(m_ui->warningText->document());
    cursor.movePosition(QTextCursor::End);
    const QString text = warning();
    cursor.insertText(text.left(kWarningLeadLength), warningFormat(true));
    cursor.insertText(text.mid(kWarningLeadLength), warningFormat(false));
}

bool AboutView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_ui->webLink && event->type() == QEvent::MouseButtonRelease &&
        static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
        linkButton();
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

void AboutView::linkButton() {
    QDesktopServices::openUrl(QUrl(QString::fromLatin1(kWebsite)));
}

void AboutView::onClose() {
    accept();
}

} // namespace velmora
