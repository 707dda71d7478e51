// Loaded by clang-tidy: its checks look at our declarations alone. Nine tenths of what a source consists of
// comes from system headers; what they find there is not shown, and looking took most of the time. The
// compiler's own warnings and the analyzer do not go by this: they see what they always saw.
#include <clang/AST/ASTConsumer.h>
#include <clang/AST/ASTContext.h>
#include <clang/Basic/SourceManager.h>
#include <clang/Frontend/FrontendPluginRegistry.h>

#include <memory>
#include <string>
#include <vector>

namespace {

// Its turn is before that of the checks, on the whole source.
class OwnDeclarations : public clang::ASTConsumer {
 public:
    void HandleTranslationUnit(clang::ASTContext& context) override {
        const clang::SourceManager& files = context.getSourceManager();
        std::vector<clang::Decl*> own;
        for (clang::Decl* declaration : context.getTranslationUnitDecl()->decls()) {
            if (!files.isInSystemHeader(declaration->getLocation())) own.push_back(declaration);
        }
        context.setTraversalScope(own);
    }
};

class Scope : public clang::PluginASTAction {
 protected:
    std::unique_ptr<clang::ASTConsumer> CreateASTConsumer(clang::CompilerInstance&,
                                                          llvm::StringRef) override {
        return std::make_unique<OwnDeclarations>();
    }
    bool ParseArgs(const clang::CompilerInstance&, const std::vector<std::string>&) override { return true; }
    ActionType getActionType() override { return AddBeforeMainAction; }
};

const clang::FrontendPluginRegistry::Add<Scope> registered("own-declarations", "checks look at our own code");

}  // namespace
