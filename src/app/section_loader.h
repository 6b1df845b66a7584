#pragma once

#include <QString>
#include <QtGlobal>

#include "core/sections.h"

namespace tlm {

// Shows one window modal for the section and returns when it closes.
using ScreenOpener = void (*)(qint32 section);

// The screen that opens each kind of window.
ScreenOpener OpenerFor(SectionWindow window);

// subLoadSection: stores the number, marks section 14 as an explicit database setup, and shows the
// section's window.
void subLoadSection(qint32 section);

}  // namespace tlm
