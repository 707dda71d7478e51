#pragma once

/// Written by the build for the QML module.
void qml_register_types_Quillbay();

namespace quillbay {

/// Makes the types of the QML module "Quillbay" known. To be called before the first engine: a static
/// library's registration is not linked unless something asks for it.
inline void registerQuillbayModule() {
    qml_register_types_Quillbay();
}

}  // namespace quillbay
