#include "settings/reporting_options_form.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "desktop/dialogs.h"
#include "settings/global_settings.h"
#include "settings/option_form_kit.h"
#include "settings/option_settings.h"

namespace tlm {

using namespace panel_kit;

ucReportingOptions::ucReportingOptions(QWidget* parent) : SettingsPanel(parent) {
    setObjectName(QStringLiteral("ucReportingOptions"));
    auto* layout = new QVBoxLayout(this);
    const auto flag = [this, layout](int i) {
        flags_.append(Check(this, layout, ReportingValues::ControlName(i), ReportingValues::Caption(i)));
    };
    for (int i = 0; i < 4; ++i)
        flag(i);
    auto* minRow = new QHBoxLayout;
    chkPreventPostingItemLessThan_ =
        Named(new QCheckBox(QStringLiteral("Don't allow posting of items with work less than"), this),
              QStringLiteral("chkPreventPostingItemLessThan"));
    txtMinimumPostingWorkTime_ = Named(new QLineEdit(this), QStringLiteral("txtMinimumPostingWorkTime"));
    txtMinimumPostingWorkTime_->setMaximumWidth(80);
    minRow->addWidget(chkPreventPostingItemLessThan_);
    minRow->addWidget(txtMinimumPostingWorkTime_);
    minRow->addWidget(new QLabel(QStringLiteral("mins"), this));
    minRow->addStretch(1);
    layout->addLayout(minRow);
    auto* hoursRow = new QHBoxLayout;
    txtWorkingHoursMonth_ = Named(new QLineEdit(this), QStringLiteral("txtWorkingHoursMonth"));
    txtWorkingHoursMonth_->setMaximumWidth(80);
    hoursRow->addWidget(new QLabel(QStringLiteral("Total Working Hours per month (approx.)"), this));
    hoursRow->addWidget(txtWorkingHoursMonth_);
    hoursRow->addStretch(1);
    layout->addLayout(hoursRow);
    for (int i = 4; i < ReportingValues::kFlags; ++i)
        flag(i);
    chkCopyReportedTaskItemTo_ = Check(this, layout, QStringLiteral("chkCopyReportedTaskItemTo"),
                                       QStringLiteral("Copy reported task items to this folder"));
    txtRepositoryTaskPublicFolder_ =
        PathField(this, layout, QStringLiteral("txtRepositoryTaskPublicFolder"),
                  &cmdRepositoryTaskPublicFolder_, QStringLiteral("cmdRepositoryTaskPublicFolder"));
    chkCopyReportedAppointmentItemTo_ =
        Check(this, layout, QStringLiteral("chkCopyReportedAppointmentItemTo"),
              QStringLiteral("Copy reported appointment items to this folder"));
    txtRepositoryAppointmentPublicFolder_ = PathField(
        this, layout, QStringLiteral("txtRepositoryAppointmentPublicFolder"),
        &cmdRepositoryAppointmentPublicFolder_, QStringLiteral("cmdRepositoryAppointmentPublicFolder"));
    layout->addStretch(1);

    txtMinimumPostingWorkTime_->installEventFilter(this);
    txtWorkingHoursMonth_->installEventFilter(this);
    for (QCheckBox* box :
         {chkPreventPostingItemLessThan_, chkCopyReportedTaskItemTo_, chkCopyReportedAppointmentItemTo_})
        connect(box, &QCheckBox::toggled, this, &ucReportingOptions::updateDependents);
    const auto browse = [this](QLineEdit* edit, const QString& title) {
        const QString folder = fncBrowseForFolder(this, title);
        if (!folder.isEmpty())
            edit->setText(folder);
    };
    connect(cmdRepositoryTaskPublicFolder_, &QPushButton::clicked, this, [this, browse] {
        browse(txtRepositoryTaskPublicFolder_, QStringLiteral("Select the folder for reported task items"));
    });
    connect(cmdRepositoryAppointmentPublicFolder_, &QPushButton::clicked, this, [this, browse] {
        browse(txtRepositoryAppointmentPublicFolder_,
               QStringLiteral("Select the folder for reported appointment items"));
    });
}

bool ucReportingOptions::eventFilter(QObject* watched, QEvent* event) {
    // Key strokes only: digits, backspace and editing keys pass; pasted text is checked at the save.
    if (event->type() == QEvent::KeyPress &&
        (watched == txtMinimumPostingWorkTime_ || watched == txtWorkingHoursMonth_)) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const QString text = key->text();
        const bool shortcut = key->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
        if (!shortcut && !text.isEmpty() && key->key() != Qt::Key_Backspace && !text.at(0).isDigit() &&
            text.at(0).isPrint())
            return true;
    }
    return SettingsPanel::eventFilter(watched, event);
}

void ucReportingOptions::updateDependents() {
    txtMinimumPostingWorkTime_->setEnabled(chkPreventPostingItemLessThan_->isChecked());
    const bool task = chkCopyReportedTaskItemTo_->isChecked();
    txtRepositoryTaskPublicFolder_->setEnabled(task);
    cmdRepositoryTaskPublicFolder_->setEnabled(task);
    const bool appointment = chkCopyReportedAppointmentItemTo_->isChecked();
    txtRepositoryAppointmentPublicFolder_->setEnabled(appointment);
    cmdRepositoryAppointmentPublicFolder_->setEnabled(appointment);
}

void ucReportingOptions::subGetSettings() {
    ReportingValues v;
    v.Load(DBSettings());
    for (int i = 0; i < flags_.size(); ++i)
        flags_[i]->setChecked(v.flags[size_t(i)]);
    chkPreventPostingItemLessThan_->setChecked(v.preventShortItems);
    txtMinimumPostingWorkTime_->setText(v.minimumMinutes);
    txtWorkingHoursMonth_->setText(v.hoursPerMonth);
    chkCopyReportedTaskItemTo_->setChecked(v.copyTasks);
    txtRepositoryTaskPublicFolder_->setText(v.taskFolder);
    chkCopyReportedAppointmentItemTo_->setChecked(v.copyAppointments);
    txtRepositoryAppointmentPublicFolder_->setText(v.appointmentFolder);
    updateDependents();
}

bool ucReportingOptions::SaveGlobalSettings() {
    ReportingValues v;
    for (int i = 0; i < flags_.size(); ++i)
        v.flags[size_t(i)] = flags_[i]->isChecked();
    v.preventShortItems = chkPreventPostingItemLessThan_->isChecked();
    v.minimumMinutes = txtMinimumPostingWorkTime_->text();
    v.hoursPerMonth = txtWorkingHoursMonth_->text();
    v.copyTasks = chkCopyReportedTaskItemTo_->isChecked();
    v.taskFolder = txtRepositoryTaskPublicFolder_->text();
    v.copyAppointments = chkCopyReportedAppointmentItemTo_->isChecked();
    v.appointmentFolder = txtRepositoryAppointmentPublicFolder_->text();
    if (!Accepted(v.Check()) || StoreMissing())
        return false;
    v.Save(*DBSettings());
    return true;
}

}  // namespace tlm
