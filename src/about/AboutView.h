#pragma once

#include <memory>

#include <QDialog>

namespace Ui {
class AboutView;
}

namespace velmora {

// The About sheet: the version with the limited warranty, the legal warning and a link to the
// maker's web site. The window creates it anew for every showing.
class AboutView : public QDialog {
    Q_OBJECT

public:
    explicit AboutView(QWidget* parent = nullptr);
    ~AboutView() override;

    static QString versionAndWarranty();
    static QString warning();

public slots:
    // linkButton:, onClose:
    void linkButton();
    void onClose();

protected:
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::unique_ptr<Ui::AboutView> m_ui;

    void viewWillAppear();
    void appendWarning();
};

} // namespace velmora
