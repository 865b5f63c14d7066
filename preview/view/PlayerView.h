// Stand-in until the real view lands.
#pragma once

#include <QWidget>

namespace vimbo {

class Player;

// The picture on black; this stand-in shows only the black.
class PlayerView : public QWidget {
    Q_OBJECT
public:
    explicit PlayerView(Player& player, QWidget* parent = nullptr);
};

} // namespace vimbo
