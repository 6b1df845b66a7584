#include "admin/list_pickers_form.h"

#include <QCheckBox>
#include <QCursor>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

#include "admin/manager_list.h"
#include "core/error_report.h"
#include "desktop/look.h"
#include "desktop/window_services.h"
#include "domain/value_names.h"
#include "settings/global_settings.h"

namespace tlm {

namespace {

std::function<void(fCategoriesColors&)> g_colorDriver;
std::function<void(fSelectMembers&)> g_membersDriver;

QColor FromOle(qint32 ole) {
    const RgbColor c = RgbFromOleColor(ole);
    return QColor(c.red, c.green, c.blue);
}

template <class Dialog, class Driver>
void ShowModal(Dialog& dialog, const Driver& driver) {
    if (driver) {
        dialog.show();
        driver(dialog);
        if (dialog.isVisible())
            dialog.reject();
    } else {
        dialog.exec();
    }
}

}  // namespace

fCategoriesColors::fCategoriesColors(QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("Colors"));
    auto* grid = new QGridLayout(this);
    grid->setSpacing(3);
    for (int i = 0; i < kButtons; ++i) {
        auto* b = new QPushButton(this);
        b->setObjectName(QStringLiteral("cmdColor%1").arg(i));
        if (i == 0) {
            b->setText(QStringLiteral("None"));
        } else {
            b->setFixedSize(28, 22);
            b->setToolTip(CategoryColorName(i));
        }
        connect(b, &QPushButton::clicked, this, [this, i] { cmdColorClick(i); });
        // "None" takes the first row; the colours follow five to a row.
        if (i == 0)
            grid->addWidget(b, 0, 0, 1, 5);
        else
            grid->addWidget(b, 1 + (i - 1) / 5, (i - 1) % 5);
        buttons_.append(b);
    }
}

void fCategoriesColors::LoadColors() {
    for (int i = 1; i < kButtons; ++i) {
        const QColor c = FromOle(CategoryOleColor(i));
        buttons_[i]->setStyleSheet(
            QStringLiteral("background-color: %1; border: 1px solid #808080;").arg(c.name()));
    }
    chosenIndex = -1;
}

void fCategoriesColors::cmdColorClick(int index) {
    if (index < 0 || index >= kButtons)
        return;
    // "None" keeps its default face: its colour is white, as index 0 shows in the grid.
    chosenColor = CategoryOleColor(index);
    chosenIndex = qint16(index);
    hide();
    setResult(QDialog::Accepted);
}

ColorChoice PickCategoryColor(QWidget* owner, qint16 currentIndex, QPoint at) {
    fCategoriesColors picker(owner);
    picker.setCurrentIndex(currentIndex);
    picker.LoadColors();
    if (owner)
        clsAlwaysOnTop::MakeNormal(owner->window());
    picker.adjustSize();
    const QScreen* screen = owner && owner->screen() ? owner->screen() : QGuiApplication::primaryScreen();
    if (screen)
        picker.move(PlaceOnScreen(at, picker.frameGeometry().size(), screen->geometry()));
    ShowModal(picker, g_colorDriver);
    if (owner)
        clsAlwaysOnTop::MakeTopMost(owner->window());
    return ColorChoice{picker.chosenIndex, picker.chosenColor};
}

fSelectMembers::fSelectMembers(QWidget* parent) : QDialog(parent) {
    setWindowTitle(QStringLiteral("Select recipients"));
    auto* layout = new QVBoxLayout(this);
    lblSelectMembers = new QLabel(QStringLiteral("Select members for notification"), this);
    lstMembers = new QListWidget(this);
    lstMembers->setSelectionMode(QAbstractItemView::MultiSelection);
    chkAll = new QCheckBox(QStringLiteral("Select All"), this);
    // OK and Cancel in the desktop's order.
    auto* box = NewDialogButtons(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    cmdOK = box->button(QDialogButtonBox::Ok);
    cmdCancel = box->button(QDialogButtonBox::Cancel);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(chkAll);
    buttons->addStretch();
    buttons->addWidget(box);
    layout->addWidget(lblSelectMembers);
    layout->addWidget(lstMembers);
    layout->addLayout(buttons);
    connect(chkAll, &QCheckBox::clicked, this, &fSelectMembers::chkAllClick);
    connect(cmdOK, &QPushButton::clicked, this, &fSelectMembers::cmdOKClick);
    connect(cmdCancel, &QPushButton::clicked, this, &fSelectMembers::cmdCancelClick);
    ApplyLook(this);
    resize(320, 360);
}

void fSelectMembers::Load() {
    const cDBSettings* settings = DBSettings();
    if (!settings || settings->Members.Items.isEmpty())
        return;
    lstMembers->clear();
    for (const QString& name : settings->Members.PopulateComboList()) {
        auto* item = new QListWidgetItem(name, lstMembers);
        item->setSelected(true);
    }
}

void fSelectMembers::chkAllClick(bool checked) {
    for (int i = 0; i < lstMembers->count(); ++i)
        lstMembers->item(i)->setSelected(checked);
}

QString fSelectMembers::GetSelectedMemberEmails() const {
    const cDBSettings* settings = DBSettings();
    if (!settings)
        return QString();
    QStringList names;
    for (int i = 0; i < lstMembers->count(); ++i)
        if (lstMembers->item(i)->isSelected())
            names.append(lstMembers->item(i)->text());
    return tlm::GetSelectedMemberEmails(names, *settings);
}

void fSelectMembers::cmdOKClick() {
    result = GetSelectedMemberEmails();
    hide();
    setResult(QDialog::Accepted);
}

void fSelectMembers::cmdCancelClick() {
    result.clear();
    hide();
    setResult(QDialog::Rejected);
}

QString PickRecipients(QWidget* owner) {
    if (owner)
        clsAlwaysOnTop::MakeNormal(owner->window());
    fSelectMembers picker(owner);
    picker.Load();
    ShowModal(picker, g_membersDriver);
    if (owner)
        clsAlwaysOnTop::MakeTopMost(owner->window());
    return picker.result;
}

void SetColorPickerDriver(std::function<void(fCategoriesColors&)> driver) {
    g_colorDriver = std::move(driver);
}

void SetSelectMembersDriver(std::function<void(fSelectMembers&)> driver) {
    g_membersDriver = std::move(driver);
}

}  // namespace tlm
