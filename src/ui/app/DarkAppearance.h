#pragma once

class QApplication;

namespace quillmor {

/// Gives the application its dark look, whatever the desktop's own theme is. Call it before any
/// window exists.
void applyDarkAppearance(QApplication& application);

}  // namespace quillmor
