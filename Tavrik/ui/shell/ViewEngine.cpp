#include "ui/shell/ViewEngine.h"

#include "ui/controls/SymbolProvider.h"

void qml_register_types_Tavrik();

namespace tavrik {

ViewEngine::ViewEngine(QObject* parent) : QQmlEngine(parent) {
    qml_register_types_Tavrik();
    addImportPath(QStringLiteral("qrc:/qml"));
    addImageProvider(QStringLiteral("symbols"), new SymbolProvider);
}

} // namespace tavrik
