#pragma once

#include <memory>
#include <optional>

#include <QDialog>

#include "core/archive/Value.h"

namespace Ui {
class ToolsViewFilter;
}

namespace velmora {

// The filter editor, a sheet over the Options page, created anew for every opening. It edits a
// new filter, or an existing one whose name then stays fixed. Save hands the record to the
// page, which puts it into its list; nothing reaches the settings file until the page itself
// is saved. No field is checked: what is typed is stored.
class ToolsViewFilter : public QDialog {
    Q_OBJECT

public:
    // `record`: the filter to edit; nothing for a new one.
    explicit ToolsViewFilter(std::optional<Dictionary> record, QWidget* parent = nullptr);
    ~ToolsViewFilter() override;

public slots:
    // anyHost:, anyFacility:, anySeverity:, anyMessage: reset one criterion to "any".
    void anyHost();
    void anyFacility();
    void anySeverity();
    void anyMessage();
    // onSave:, onCancel:
    void onSave();
    void onCancel();

signals:
    void filterSaved(const velmora::Dictionary& record);

protected:
    void showEvent(QShowEvent* event) override;

private:
    std::unique_ptr<Ui::ToolsViewFilter> m_ui;
    std::optional<Dictionary> m_record;

    void viewWillAppear();
    void showRecord(const Dictionary& record);
    void showNewFilter();
};

} // namespace velmora
