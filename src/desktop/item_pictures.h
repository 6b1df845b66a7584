#pragma once

#include <QIcon>

namespace tlm {

// The pictures of a reported item's kind, the same on every list that shows one. The desktop's
// icon theme gives them where it has one; otherwise they are drawn in the application's palette at
// the moment they are painted (a selected row's colours when selected), so they read on light and
// dark palettes alike. Neither carries a tick: a reported item is not approved by being shown.
QIcon TaskPicture();         // a clipboard with lines of writing
QIcon AppointmentPicture();  // a calendar page

// The drawn pictures without the theme's, for a test that must see what the fallback shows.
QIcon DrawnTaskPicture();
QIcon DrawnAppointmentPicture();

}  // namespace tlm
