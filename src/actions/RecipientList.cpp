#include "actions/RecipientList.h"

#include <QFontDatabase>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QStandardItemModel>
#include <QTableView>

#include "actions/ActionViewLink.h"

namespace velmora {

RecipientList::RecipientList(const Controls& controls, QObject* parent)
    : QObject(parent)
    , m_controls(controls)
    , m_model(new QStandardItemModel(0, 1, this)) {
    m_model->setHorizontalHeaderLabels({tr("Recipient")});
    QTableView& table = m_controls.table;
    table.setModel(m_model);
    table.setSelectionBehavior(QAbstractItemView::SelectRows);
    table.setSelectionMode(QAbstractItemView::SingleSelection);
    table.horizontalHeader()->setStretchLastSection(true);
    table.verticalHeader()->hide();

    QFont small = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    small.setPointSize(11);
    m_controls.remove.setFont(small);
    m_controls.remove.showAsLink();

    connect(&m_controls.address, &QLineEdit::textChanged, this, &RecipientList::addressChanged);
    connect(&m_controls.add, &QPushButton::clicked, this, &RecipientList::addRecipient);
    connect(&m_controls.remove, &QPushButton::clicked, this, &RecipientList::removeRecipient);
}

QStringList RecipientList::recipients() const {
    QStringList addresses;
    for (int row = 0; row < m_model->rowCount(); ++row) {
        addresses << m_model->item(row)->text();
    }
    return addresses;
}

void RecipientList::setRecipients(const QStringList& addresses) {
    m_model->removeRows(0, m_model->rowCount());
    for (const QString& address : addresses) {
        appendRow(address);
    }
}

void RecipientList::appear() {
    m_controls.add.setEnabled(false);
    m_controls.table.clearSelection();
    m_controls.blank.setFocus();
}

void RecipientList::addressChanged(const QString& text) {
    m_controls.add.setEnabled(!text.isEmpty());
    if (text.isEmpty()) {
        m_controls.blank.setFocus();
    }
}

void RecipientList::addRecipient() {
    appendRow(m_controls.address.text());
    m_controls.blank.setFocus();
    m_controls.table.clearSelection();
    m_controls.add.setEnabled(false);
    m_controls.address.clear();
}

void RecipientList::removeRecipient() {
    const QModelIndexList selected = m_controls.table.selectionModel()->selectedRows();
    if (!selected.isEmpty()) {
        m_model->removeRow(selected.front().row());
    }
    m_controls.table.clearSelection();
}

void RecipientList::appendRow(const QString& address) {
    auto* item = new QStandardItem(address);
    item->setEditable(false);
    m_model->appendRow(item);
}

} // namespace velmora
