// Stand-in until the real view lands.
#include "preview/Player.h"

namespace vimbo {

Player::Player(QObject* parent)
    : QObject(parent) {}

} // namespace vimbo
