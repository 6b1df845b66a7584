// The panel base has signals of its own; its meta-object is built with this file.
#include "settings/settings_panel_form.h"
