#include "model/Clip.h"

namespace vimbo {

QString uuidText(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces).toUpper();
}

} // namespace vimbo
