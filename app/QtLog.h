#pragma once

namespace vimbo::app {

// Qt's image plug-ins print their remarks on damaged or unusual files to stderr ("Corrupt JPEG
// data: premature end of data segment"); the command line says what matters in its own lines
// (a clip it cannot read is named and skipped), so Qt's debug messages and warnings stay off
// the terminal unless VIMBO_QT_LOG is set (for debugging). Critical and fatal messages pass.
void quietQtLog();

} // namespace vimbo::app
