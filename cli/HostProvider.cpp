#include "HostProvider.h"

#include "host/CHostStatus.h"
#include "host/CMaterialTable.h"
#include "host/CUnitsEvaluatorProvider.h"
#include "torvex/platform/Utf16.h"

namespace torvex::cli {

std::shared_ptr<const CMaterialTable> LoadMaterials(const std::string& materialsPath,
                                                    std::ostream& err, std::string& error) {
    auto materials = std::make_shared<CMaterialTable>();
    if (!materialsPath.empty()) {
        const int32_t status = materials->LoadFile(platform::FromUtf8(materialsPath));
        if (status < 0) {
            error = "cannot read the materials table " + materialsPath + ": " +
                    platform::ToUtf8(CHostStatus::Describe(status));
            return nullptr;
        }
        for (size_t line : materials->SkippedLines())
            err << "torvex: " << materialsPath << ":" << line << ": line skipped\n";
    }
    return materials;
}

std::unique_ptr<IEvaluatorProvider>
MakeUnitsProvider(std::shared_ptr<const CMaterialTable> materials) {
    return std::make_unique<CUnitsEvaluatorProvider>(std::move(materials));
}

std::unique_ptr<IEvaluatorProvider> MakeUnitsProvider(const std::string& materialsPath,
                                                      std::ostream& err, std::string& error) {
    std::shared_ptr<const CMaterialTable> materials = LoadMaterials(materialsPath, err, error);
    return materials ? MakeUnitsProvider(std::move(materials)) : nullptr;
}

std::unique_ptr<CEncapFamily> OpenEvaluatingFamily(const FamilyInput& input,
                                                   const std::string& materialsPath,
                                                   std::ostream& err) {
    std::string error;
    auto provider = MakeUnitsProvider(materialsPath, err, error);
    auto family = provider ? OpenFamily(input, std::move(provider), error) : nullptr;
    if (!family)
        err << "torvex: " << error << '\n';
    return family;
}

} // namespace torvex::cli
