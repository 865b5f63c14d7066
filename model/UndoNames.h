#pragma once

#include <QtGlobal>

// The names of undo steps, as source texts of the "Undo" translation context. The Undo and Redo
// menu items show them ("Undo Add Clips").
namespace vimbo::UndoName {

inline constexpr const char* addClips = QT_TRANSLATE_NOOP("Undo", "Add Clips");
inline constexpr const char* remove = QT_TRANSLATE_NOOP("Undo", "Remove");
inline constexpr const char* startOver = QT_TRANSLATE_NOOP("Undo", "Start Over");
inline constexpr const char* sort = QT_TRANSLATE_NOOP("Undo", "Sort");
inline constexpr const char* rotate = QT_TRANSLATE_NOOP("Undo", "Rotate");
inline constexpr const char* moveClip = QT_TRANSLATE_NOOP("Undo", "Move Clip");
inline constexpr const char* changeShape = QT_TRANSLATE_NOOP("Undo", "Change Shape");
inline constexpr const char* changeFill = QT_TRANSLATE_NOOP("Undo", "Change Fill");
inline constexpr const char* changeSpeed = QT_TRANSLATE_NOOP("Undo", "Change Speed");
inline constexpr const char* mute = QT_TRANSLATE_NOOP("Undo", "Mute");
inline constexpr const char* changeDuration = QT_TRANSLATE_NOOP("Undo", "Change Duration");
inline constexpr const char* trim = QT_TRANSLATE_NOOP("Undo", "Trim");

} // namespace vimbo::UndoName
