// Stand-in until the real view lands.
#pragma once

#include <QObject>

namespace vimbo {

// The preview's player: plays nothing in this stand-in.
class Player : public QObject {
    Q_OBJECT
public:
    explicit Player(QObject* parent = nullptr);
};

} // namespace vimbo
