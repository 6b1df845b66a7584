#include "settings/access_control_form.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "core/local_settings.h"
#include "core/process_state.h"
#include "settings/global_settings.h"
#include "settings/option_form_kit.h"
#include "settings/option_settings.h"

namespace tlm {

using namespace panel_kit;

ucAccessControl::ucAccessControl(QWidget* parent) : SettingsPanel(parent) {
    setObjectName(QStringLiteral("ucAccessControl"));
    auto* layout = new QVBoxLayout(this);
    auto* items = new QGroupBox(QStringLiteral("Members may report"), this);
    auto* itemsLayout = new QVBoxLayout(items);
    checks_.append(Check(items, itemsLayout, QStringLiteral("chkTaskItem"), QStringLiteral("Task Item")));
    checks_.append(
        Check(items, itemsLayout, QStringLiteral("chkAppointmentItem"), QStringLiteral("Appointment Item")));
    layout->addWidget(items);

    auto* rights = new QGroupBox(QStringLiteral("Members may"), this);
    auto* rightsLayout = new QVBoxLayout(rights);
    checks_.append(
        Check(rights, rightsLayout, QStringLiteral("chkAllowMemberSummaryReportsAll"),
              QStringLiteral("View Summary Reports on all published timesheets (for all members)")));
    checks_.append(Check(rights, rightsLayout, QStringLiteral("chkAllowMemberToAddTask"),
                         QStringLiteral("Add their own Activities")));
    checks_.append(Check(rights, rightsLayout, QStringLiteral("chkAllowMemberToAddProject"),
                         QStringLiteral("Add their own Projects")));
    checks_.append(Check(rights, rightsLayout, QStringLiteral("chkAllowMemberToAddCustomList"),
                         QStringLiteral("Add their value for the Custom List fields")));
    checks_.append(Check(rights, rightsLayout, QStringLiteral("chkAllowMemberOLAPAll"),
                         QStringLiteral("View analysis of all published timesheets (for all members)")));
    layout->addWidget(rights);

    auto* admins = new QGroupBox(QStringLiteral("Members with administration rights"), this);
    auto* grid = new QGridLayout(admins);
    lstAllowed_ = Named(new QListWidget(admins), QStringLiteral("lstAllowed"));
    lstNotAllowed_ = Named(new QListWidget(admins), QStringLiteral("lstNotAllowed"));
    auto* add = Named(new QPushButton(QStringLiteral("<< Add"), admins), QStringLiteral("cmdAddTechnician"));
    auto* remove =
        Named(new QPushButton(QStringLiteral("Remove >>"), admins), QStringLiteral("cmdRemoveTechnician"));
    auto* buttons = new QVBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(add);
    buttons->addWidget(remove);
    buttons->addStretch(1);
    grid->addWidget(new QLabel(QStringLiteral("Allowed"), admins), 0, 0);
    grid->addWidget(new QLabel(QStringLiteral("Not allowed"), admins), 0, 2);
    grid->addWidget(lstAllowed_, 1, 0);
    grid->addLayout(buttons, 1, 1);
    grid->addWidget(lstNotAllowed_, 1, 2);
    layout->addWidget(admins, 1);
    connect(add, &QPushButton::clicked, this, &ucAccessControl::cmdAddTechnician);
    connect(remove, &QPushButton::clicked, this, &ucAccessControl::cmdRemoveTechnician);
}

void ucAccessControl::subGetSettings() {
    AccessControlValues v;
    v.Load(DBSettings());
    for (int i = 0; i < checks_.size(); ++i)
        checks_[i]->setChecked(v.flags[size_t(i)]);
    lstAllowed_->clear();
    lstNotAllowed_->clear();
    lstAllowed_->addItems(v.allowed);
    lstNotAllowed_->addItems(v.notAllowed);
}

namespace {
void MoveSelected(QListWidget* from, QListWidget* to) {
    const int row = from->currentRow();
    if (row < 0)
        return;
    QListWidgetItem* item = from->takeItem(row);
    to->addItem(item);
    to->setCurrentItem(item);
}
}  // namespace

void ucAccessControl::cmdAddTechnician() {
    MoveSelected(lstNotAllowed_, lstAllowed_);
}

void ucAccessControl::cmdRemoveTechnician() {
    MoveSelected(lstAllowed_, lstNotAllowed_);
}

bool ucAccessControl::SaveGlobalSettings() {
    AccessControlValues v;
    for (int i = 0; i < checks_.size(); ++i)
        v.flags[size_t(i)] = checks_[i]->isChecked();
    for (int i = 0; i < lstAllowed_->count(); ++i)
        v.allowed.append(lstAllowed_->item(i)->text());
    for (int i = 0; i < lstNotAllowed_->count(); ++i)
        v.notAllowed.append(lstNotAllowed_->item(i)->text());
    if (!Accepted(v.Check()) || StoreMissing())
        return false;
    v.Save(*DBSettings(), Process().mySettings);
    return true;
}

}  // namespace tlm
