#include "quick/ViewEngine.h"

#include "resources/SymbolProvider.h"

void qml_register_types_Tavrik_Quick();

namespace tavrik {

ViewEngine::ViewEngine(QObject* parent) : QQmlEngine(parent) {
    qml_register_types_Tavrik_Quick();
    addImportPath(QStringLiteral("qrc:/qml"));
    addImageProvider(QStringLiteral("symbols"), new SymbolProvider);
}

} // namespace tavrik
