#include "settings/option_form_kit.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>

#include "core/error_report.h"
#include "settings/global_settings.h"

namespace tlm::panel_kit {

QCheckBox* Check(QWidget* parent, QLayout* layout, const QString& name, const QString& caption) {
    auto* box = Named(new QCheckBox(caption, parent), name);
    layout->addWidget(box);
    return box;
}

QLineEdit* PathField(QWidget* parent, QLayout* layout, const QString& name, QPushButton** browse,
                     const QString& browseName) {
    auto* row = new QHBoxLayout;
    auto* edit = Named(new QLineEdit(parent), name);
    *browse = Named(new QPushButton(QStringLiteral("Browse..."), parent), browseName);
    row->addWidget(edit, 1);
    row->addWidget(*browse);
    if (auto* box = qobject_cast<QBoxLayout*>(layout))
        box->addLayout(row);
    return edit;
}

bool Accepted(const QString& problem, PromptIcon icon) {
    if (problem.isEmpty())
        return true;
    MsgBox(problem, icon);
    return false;
}

QString ProjectWord() {
    const cDBSettings* g = DBSettings();
    return g ? g->ProjectTitle : QStringLiteral("Project");
}
QString ActivityWord() {
    const cDBSettings* g = DBSettings();
    return g ? g->ActivityTitle : QStringLiteral("Activity");
}

bool StoreMissing() {
    if (DBSettings())
        return false;
    subReportError(Failure{0, QStringLiteral("The global settings are not loaded."), 0,
                           QStringLiteral("fManagerSettings.Save")});
    return true;
}

}  // namespace tlm::panel_kit
