#pragma once

// The interface's texts in the user's language: Vimbo's own (English supplies the plural
// forms, "1 Clip", "2 Clips") and Qt's for its dialogs. Call once, on the interface thread,
// after the application object exists.

namespace vimbo::ui {

void installTranslations();

} // namespace vimbo::ui
