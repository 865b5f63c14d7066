#pragma once

#include <QString>
#include <QUrl>

#include <exception>
#include <string>

namespace vimbo {

// The errors that reach a person. The media pipeline throws them; whoever shows them to the
// user reads errorDescription(). Cancelling is never one of these.
class VimboError : public std::exception {
public:
    enum class Kind { unreadable, exportFailed, nothingToMerge };

    static VimboError unreadable(const QUrl& url);
    static VimboError exportFailed(const QString& message);
    static VimboError nothingToMerge();

    Kind kind() const { return kind_; }
    const QUrl& url() const { return url_; }            // unreadable only
    const QString& message() const { return message_; } // exportFailed only

    // The sentence shown to the user, translated where a translation exists.
    QString errorDescription() const;
    const char* what() const noexcept override { return utf8_.c_str(); }

    friend bool operator==(const VimboError& a, const VimboError& b) {
        return a.kind_ == b.kind_ && a.url_ == b.url_ && a.message_ == b.message_;
    }

private:
    VimboError(Kind kind, QUrl url, QString message);

    Kind kind_;
    QUrl url_;
    QString message_;
    std::string utf8_;
};

} // namespace vimbo
