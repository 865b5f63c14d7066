#include "app/QtLog.h"

#include <QtGlobal>

namespace vimbo::app {
namespace {

QtMessageHandler passOn = nullptr;

void quietHandler(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (type == QtCriticalMsg || type == QtFatalMsg)
        passOn(type, context, message);
}

} // namespace

void quietQtLog() {
    if (qEnvironmentVariableIsEmpty("VIMBO_QT_LOG"))
        passOn = qInstallMessageHandler(quietHandler);
}

} // namespace vimbo::app
