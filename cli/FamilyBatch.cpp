#include "FamilyBatch.h"

#include "HostProvider.h"
#include "TextFormats.h"

#include "torvex/family/CEncapFamily.h"

#include <ostream>
#include <sstream>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <thread>

namespace torvex::cli {
namespace {

bool IsFolder(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

} // namespace

bool NamesSeveralFamilies(const std::vector<std::string>& words) {
    return words.size() > 1 || (words.size() == 1 && IsFolder(words[0]));
}

std::vector<BatchFamily> ListFamilies(const std::vector<std::string>& words,
                                      const FamilyInput& common) {
    namespace fs = std::filesystem;
    auto entry = [&](const std::string& path) {
        BatchFamily family;
        family.input.familyPath = path;
        family.input.language = common.language;
        family.input.localize = common.localize;
        family.input.findStrings = true;
        return family;
    };
    std::vector<BatchFamily> families;
    for (const std::string& word : words) {
        if (!IsFolder(word)) {
            families.push_back(entry(word));
            continue;
        }
        std::vector<std::string> found;
        std::error_code error;
        for (fs::recursive_directory_iterator
                 it(word, fs::directory_options::skip_permission_denied, error),
             end;
             !error && it != end; it.increment(error)) {
            std::error_code ignored;
            if (it->path().filename() == "Family.xml" && it->is_regular_file(ignored))
                found.push_back(it->path().string());
        }
        if (error) {
            BatchFamily failed = entry(word);
            failed.error = "cannot read the folder " + word + ": " + error.message();
            families.push_back(std::move(failed));
            continue;
        }
        if (found.empty()) {
            BatchFamily failed = entry(word);
            failed.error = "the folder " + word + " holds no family document (Family.xml)";
            families.push_back(std::move(failed));
            continue;
        }
        std::sort(found.begin(), found.end());
        for (const std::string& path : found)
            families.push_back(entry(path));
    }
    return families;
}

unsigned JobThreads(unsigned asked) {
    if (asked > 0)
        return asked;
    return std::max(1u, std::thread::hardware_concurrency());
}

std::string MessageNaming(const std::string& path, const std::string& message) {
    return message.find(path) != std::string::npos ? message : path + ": " + message;
}

std::unique_ptr<CEncapFamily> OpenBatchFamily(const BatchFamily& entry,
                                              std::shared_ptr<const CMaterialTable> materials,
                                              bool json, std::ostream& out, std::ostream& err) {
    const std::string& path = entry.input.familyPath;
    std::string why = entry.error;
    std::unique_ptr<CEncapFamily> family;
    if (why.empty())
        family = OpenFamily(entry.input, MakeUnitsProvider(std::move(materials)), why);
    if (!family) {
        const std::string message = MessageNaming(path, why);
        err << "torvex: " << message << '\n';
        if (json)
            out << "{\n  \"family\": " << JsonString(path)
                << ",\n  \"error\": " << JsonString(message) << "\n}\n";
    }
    return family;
}

JobOutput
RunBatchFamily(const BatchFamily& entry, std::shared_ptr<const CMaterialTable> materials, bool json,
               int notOpened,
               const std::function<int(CEncapFamily&, std::ostream&, std::ostream&)>& print) {
    std::ostringstream familyOut, familyErr;
    const std::unique_ptr<CEncapFamily> family =
        OpenBatchFamily(entry, std::move(materials), json, familyOut, familyErr);
    JobOutput output;
    output.exitCode = family ? print(*family, familyOut, familyErr) : notOpened;
    output.out = familyOut.str();
    output.err = familyErr.str();
    return output;
}

} // namespace torvex::cli
