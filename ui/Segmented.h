#pragma once

// A row of joined toggle buttons of which exactly one is on, for a short choice shown in full
// (MP4 | MOV, Fit | Fill). The chosen button takes the palette's highlight, so the choice
// reads at a glance in light and dark themes, where a merely sunken button does not.

#include <QWidget>

#include <functional>

class QButtonGroup;

namespace vimbo::ui {

class Segmented : public QWidget {
public:
    // `name` is the group's accessible name; each button is named by its text.
    Segmented(const QString& name, const QStringList& choices, QWidget* parent = nullptr);

    int current() const;
    // Shows a choice without telling onChosen (the model changed, not the person).
    void setCurrent(int index);
    // Called with the index a person chose.
    void onChosen(std::function<void(int)> chosen) { chosen_ = std::move(chosen); }

protected:
    void changeEvent(QEvent* event) override;

private:
    void paintChoice();

    QButtonGroup* group_;
    std::function<void(int)> chosen_;
};

} // namespace vimbo::ui
