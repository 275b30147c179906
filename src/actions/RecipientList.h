#pragma once

#include <QObject>
#include <QStringList>

class QLineEdit;
class QPushButton;
class QStandardItemModel;
class QTableView;

namespace velmora {

class ActionViewLink;

// The recipient list of the two e-mail sheets (an action's e-mail command and the test mail):
// an address field, an add button that is enabled only while the field holds text, a
// one-column table of the addresses and a remove link. Addresses are taken as typed, and the
// same address may be added twice.
class RecipientList : public QObject {
    Q_OBJECT

public:
    struct Controls {
        QLineEdit& address;     // recipientEmail
        QPushButton& add;       // addRecipient
        ActionViewLink& remove; // removeRecipient
        QTableView& table;      // recipientsTable
        QLineEdit& blank;       // recipientBlank
    };

    RecipientList(const Controls& controls, QObject* parent);

    QStringList recipients() const;
    void setRecipients(const QStringList& addresses);

    // The sheet appears: no address can be added yet, nothing is selected, no field has focus.
    void appear();

public slots:
    // controlTextDidChange:, addRecipient:, removeRecipient:
    void addressChanged(const QString& text);
    void addRecipient();
    void removeRecipient();

private:
    Controls m_controls;
    QStandardItemModel* m_model;

    void appendRow(const QString& address);
};

} // namespace velmora
