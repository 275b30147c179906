#include "about/AboutView.h"

#include <memory>

#include <QDesktopServices>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTextCursor>
#include <QTextEdit>
#include <QUrl>

#include "app/AppDelegate.h"
#include "app/WindowController.h"
#include "core/Version.h"

using namespace velmora;

namespace {

const QString kWarranty = QStringLiteral(
    "LIMITED WARRANTY\n"
    "---------------------\n"
    "THIS PROGRAM AND ACCOMPANYING WRITTEN MATERIALS ARE PROVIDED \\AS IS\\ WITHOUT WARRANTIES "
    "OF ANY KIND, EITHER EXPRESS OR IMPLIED, INCLUDING, BUT NOT LIMITED TO THE IMPLIED "
    "WARRANTIES OF MERCHANTABILITY OR FITNESS FOR A PARTICULAR PURPOSE. NEITHER THE AUTHOR NOR "
    "ANYONE ELSE WHO HAS BEEN INVOLVED IN THE CREATION, PRODUCTION OR DELIVERY OF THIS PRODUCT "
    "SHALL BE LIABLE FOR ANY DIRECT, INDIRECT, CONSEQUENTIAL OR INCIDENTAL DAMAGES ARISING OUT OF "
    "THE USE OR INABILITY TO USE SUCH PRODUCT EVEN IF THE AUTHOR HAS BEEN ADVISED OF THE "
    "POSSIBILITY OF SUCH DAMAGES.");

const QString kWarning = QStringLiteral(
    "Warning: This software is protected by copyright law and international treaties. "
    "Unauthorized reproduction or distribution of this program, may result in severe civil or "
    "criminal penalties, and will be prosecuted to the fullest extent of the law.");

// The character format of the character at `position`.
QTextCharFormat formatAt(QTextDocument& document, int position) {
    QTextCursor cursor(&document);
    cursor.setPosition(position + 1);
    return cursor.charFormat();
}

} // namespace

class UrlCatcher : public QObject {
    Q_OBJECT

public:
    QList<QUrl> urls;

public slots:
    void open(const QUrl& url) { urls << url; }
};

class AboutViewTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void infoTextIsVersionThenWarranty();
    void warningHasABoldLeadInGrey();
    void eachAboutIsANewSheetWithOneWarning();
    void webLinkOpensTheMakersSite();

private:
    std::unique_ptr<QTemporaryDir> m_data;
    std::unique_ptr<AppDelegate> m_delegate;
    std::unique_ptr<WindowController> m_window;
    UrlCatcher m_urls;

    AboutView* openAbout();
};

void AboutViewTest::initTestCase() {
    QDesktopServices::setUrlHandler("https", &m_urls, "open");
    QDesktopServices::setUrlHandler("http", &m_urls, "open");
}

void AboutViewTest::cleanupTestCase() {
    QDesktopServices::unsetUrlHandler("https");
    QDesktopServices::unsetUrlHandler("http");
}

void AboutViewTest::init() {
    m_data = std::make_unique<QTemporaryDir>();
    m_delegate = std::make_unique<AppDelegate>(m_data->path().toStdString());
    m_window = std::make_unique<WindowController>(*m_delegate);
    m_window->show();
}

void AboutViewTest::cleanup() {
    m_window.reset();
    m_delegate.reset();
    m_data.reset();
}

AboutView* AboutViewTest::openAbout() {
    m_window->about();
    const auto sheets = m_window->findChildren<AboutView*>();
    return sheets.isEmpty() ? nullptr : sheets.last();
}

void AboutViewTest::infoTextIsVersionThenWarranty() {
    AboutView* sheet = openAbout();
    QVERIFY(sheet != nullptr);
    auto* info = sheet->findChild<QPlainTextEdit*>("infoText");
    QVERIFY(info->isReadOnly());
    QCOMPARE(info->toPlainText(),
             QStringLiteral("Velmora Version: %1\n\n").arg(QLatin1String(kVersion)) + kWarranty);
}

void AboutViewTest::warningHasABoldLeadInGrey() {
    AboutView* sheet = openAbout();
    auto* warning = sheet->findChild<QTextEdit*>("warningText");
    QVERIFY(warning->isReadOnly());
    QCOMPARE(warning->toPlainText(), kWarning);

    QTextDocument& document = *warning->document();
    const QColor grey = QColor::fromRgbF(0.33f, 0.33f, 0.33f, 1.0f);
    for (const int position : {0, 7, 8, 9, static_cast<int>(kWarning.size()) - 1}) {
        const QTextCharFormat format = formatAt(document, position);
        const bool lead = position < 8;
        QCOMPARE(format.font().bold(), lead);
        QCOMPARE(format.font().pointSize(), 11);
        QCOMPARE(format.foreground().color(), grey);
    }
}

void AboutViewTest::eachAboutIsANewSheetWithOneWarning() {
    AboutView* first = openAbout();
    QTest::mouseClick(first->findChild<QPushButton*>("closeButton"), Qt::LeftButton);
    QVERIFY(!first->isVisible());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(m_window->findChildren<AboutView*>().isEmpty());

    AboutView* second = openAbout();
    QVERIFY(second != nullptr);
    QCOMPARE(second->findChild<QTextEdit*>("warningText")->toPlainText(), kWarning);
}

void AboutViewTest::webLinkOpensTheMakersSite() {
    auto* link = openAbout()->findChild<QLabel*>("webLink");
    QVERIFY(link->font().underline());
    QTest::mouseClick(link, Qt::LeftButton);
    QCOMPARE(m_urls.urls, QList<QUrl>{QUrl(QLatin1String(kWebsite))});
}

QTEST_MAIN(AboutViewTest)
#include "AboutViewTest.moc"
