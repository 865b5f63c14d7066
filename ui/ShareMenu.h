#pragma once

// The export bar's "Share…" menu for a finished movie, in the Linux desktop's terms: Copy
// (the file on the clipboard, pastable into a file manager or a chat), Open With… (the
// desktop's application chooser, through the xdg-desktop-portal OpenFile call with "ask";
// the default application where no portal answers) and Email… (xdg-email with the file
// attached). Nothing here waits: calls and programs are started and left to run.

#include <QMenu>
#include <QUrl>

namespace vimbo::ui {

class ShareMenu : public QMenu {
    Q_OBJECT
public:
    explicit ShareMenu(QWidget* parent = nullptr);

    void setFile(const QUrl& file) { file_ = file; }

private:
    void copy() const;
    void openWith() const;
    void email() const;

    QUrl file_;
};

} // namespace vimbo::ui
