#pragma once

// What the option panels share to build their controls and report a refused save; only the panel
// files include it.

#include <QString>

#include "core/prompt.h"

class QCheckBox;
class QLayout;
class QLineEdit;
class QPushButton;
class QWidget;

namespace tlm::panel_kit {

template <typename W>
W* Named(W* widget, const QString& name) {
    widget->setObjectName(name);
    return widget;
}

QCheckBox* Check(QWidget* parent, QLayout* layout, const QString& name, const QString& caption);
// A line edit with a "Browse..." button beside it, added to a box layout.
QLineEdit* PathField(QWidget* parent, QLayout* layout, const QString& name, QPushButton** browse,
                     const QString& browseName);
// The message of a refused save, when there is one: true when the save may go on.
bool Accepted(const QString& problem, PromptIcon icon = PromptIcon::Exclamation);
// The store's project and activity words.
QString ProjectWord();
QString ActivityWord();
// Saving with the store missing is a program fault, not a user's: reports it and answers true.
bool StoreMissing();

}  // namespace tlm::panel_kit
