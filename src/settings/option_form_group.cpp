#include "settings/option_form_group.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QLabel>
#include <QRadioButton>
#include <QVBoxLayout>

namespace tlm {

OptionGroup::OptionGroup(const QString& name, const QString& caption, const QStringList& options,
                         QWidget* parent)
    : QWidget(parent) {
    setObjectName(name);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    if (!caption.isEmpty()) {
        auto* label = new QLabel(caption, this);
        label->setWordWrap(true);
        layout->addWidget(label);
    }
    auto* row = new QHBoxLayout;
    group_ = new QButtonGroup(this);
    for (int i = 0; i < options.size(); ++i) {
        auto* button = new QRadioButton(options[i], this);
        button->setObjectName(name + QString::number(i));
        group_->addButton(button, i);
        row->addWidget(button);
        options_.append(button);
    }
    row->addStretch(1);
    layout->addLayout(row);
    if (!options_.isEmpty())
        options_.first()->setChecked(true);
    connect(group_, &QButtonGroup::idToggled, this, [this](int id, bool on) {
        if (on)
            emit changed(id);
    });
}

int OptionGroup::index() const {
    return group_->checkedId() < 0 ? 0 : group_->checkedId();
}

void OptionGroup::setIndex(int index) {
    // A stored value out of range shows the first option, as an unset one would.
    QRadioButton* button = option(index >= 0 && index < options_.size() ? index : 0);
    if (button)
        button->setChecked(true);
}

QRadioButton* OptionGroup::option(int index) const {
    return options_.value(index);
}

}  // namespace tlm
