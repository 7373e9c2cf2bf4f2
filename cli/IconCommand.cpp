// torvex icon: lists, converts and renders ICO files, BMP files and icon groups of executables.

#include "IconCommand.h"

#include "Commands.h"
#include "PngWriter.h"
#include "TextFormats.h"

#include "torvex/icons/CIcons.h"
#include "torvex/platform/Utf16.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <memory>
#include <sstream>

namespace torvex::cli {

namespace {

using platform::FromUtf8;
using platform::ToUtf8;

enum class Kind { Unknown, Ico, Bmp, Module };

struct ResourceDeleter {
    void operator()(ICONRESOURCE* r) const { CIcons::FreeIconResource(r); }
};
using ResourcePtr = std::unique_ptr<ICONRESOURCE, ResourceDeleter>;
struct FreeDeleter {
    void operator()(uint8_t* p) const { std::free(p); }
};
using BlockPtr = std::unique_ptr<uint8_t, FreeDeleter>;

// The file's kind by its first bytes; Unknown with a message when it cannot be read or is none.
Kind DetectKind(const std::string& path, std::string& error) {
    std::ifstream in(path, std::ios::binary);
    char head[4] = {};
    if (!in || !in.read(head, 4)) {
        if (!in.is_open())
            error = "cannot read " + path + ": " + std::strerror(errno);
        else
            error = path + " is too short to be an icon, bitmap or executable file";
        return Kind::Unknown;
    }
    if (head[0] == 'B' && head[1] == 'M')
        return Kind::Bmp;
    if (head[0] == 'M' && head[1] == 'Z')
        return Kind::Module;
    if (head[0] == 0 && head[1] == 0 && head[2] == 1 && head[3] == 0)
        return Kind::Ico;
    error = path + " is no ICO, BMP or PE file";
    return Kind::Unknown;
}

bool IsPng(const ICONIMAGE& image) {
    return IsPngImage(image.lpBits, image.dwNumBytes);
}

// The library's messages, as the tool's own lines.
MessageHandler Reporter(std::ostream& err) {
    return [&err](const WideString& text, const WideString& caption) {
        err << "torvex: " << ToUtf8(caption) << ": " << ToUtf8(text) << '\n';
    };
}

bool ParseSize(const std::string& text, uint32_t& width, uint32_t& height) {
    const size_t x = text.find_first_of("xX");
    if (x == std::string::npos || x == 0 || x + 1 >= text.size())
        return false;
    auto number = [](const std::string& s, uint32_t& out) {
        if (s.empty() || s.size() > 5 || s.find_first_not_of("0123456789") != std::string::npos)
            return false;
        out = uint32_t(std::stoul(s));
        return out >= 1 && out <= 4096;
    };
    return number(text.substr(0, x), width) && number(text.substr(x + 1), height);
}

struct Wanted {
    bool hasSize = false;
    uint32_t width = 0, height = 0;
    unsigned bits = 0;
    unsigned index = 0;
};

// Usage problems of --size, --bits, --index: a message and false.
bool ReadWanted(const IconOptions& options, Wanted& wanted, std::ostream& err) {
    if (!options.size.empty()) {
        if (!ParseSize(options.size, wanted.width, wanted.height)) {
            err << "torvex: --size takes WIDTHxHEIGHT, each from 1 to 4096, not " << options.size
                << '\n';
            return false;
        }
        wanted.hasSize = true;
    }
    wanted.bits = options.bits;
    wanted.index = options.index;
    return true;
}

// The image to use: the one numbered by --index, else the largest and deepest of those that
// match --size and --bits (any, when neither is given); -1 when none. PNG-stored images only
// where `png` allows them.
int ChooseImage(const ICONRESOURCE& icon, const Wanted& wanted, bool exact, bool png) {
    if (wanted.index)
        return wanted.index <= icon.nNumImages ? int(wanted.index) - 1 : -1;
    int best = -1;
    for (uint32_t i = 0; i < icon.nNumImages; ++i) {
        const ICONIMAGE& image = icon.IconImages[i];
        if (!png && IsPng(image))
            continue;
        if (exact && wanted.hasSize &&
            (image.Width != wanted.width || image.Height != wanted.height))
            continue;
        if (exact && wanted.bits && image.Colors != wanted.bits)
            continue;
        if (best < 0)
            best = int(i);
        const ICONIMAGE& b = icon.IconImages[best];
        const uint64_t area = uint64_t(image.Width) * image.Height;
        const uint64_t bestArea = uint64_t(b.Width) * b.Height;
        if (area > bestArea || (area == bestArea && image.Colors > b.Colors))
            best = int(i);
    }
    return best;
}

// Reads the icon of an ICO file or of a module's group. For a module without --resource, the
// group when it has one only. Null after a message.
ResourcePtr ReadIcon(Kind kind, const IconOptions& options, CIcons& icons, std::ostream& err,
                     int& code) {
    code = kExitFailed;
    const WideString path = FromUtf8(options.input);
    if (kind == Kind::Ico)
        return ResourcePtr(icons.ReadIconFromICOFile(path));
    std::string resource = options.resource;
    if (resource.empty()) {
        CPeImage module;
        if (!module.LoadFile(path)) {
            err << "torvex: " << options.input << " is no PE image\n";
            return nullptr;
        }
        const std::vector<ResourceName> groups = module.ResourceNames(RT_GROUP_ICON);
        if (groups.size() != 1) {
            err << "torvex: " << options.input << " has " << groups.size()
                << " icon groups; name one with --resource";
            for (size_t i = 0; i < groups.size(); ++i)
                err << (i ? ", " : " (") << ToUtf8(groups[i].ToString())
                    << (i + 1 == groups.size() ? ")" : "");
            err << '\n';
            code = kExitUsage;
            return nullptr;
        }
        resource = ToUtf8(groups.front().ToString());
    }
    const WideString name = FromUtf8(resource);
    ResourcePtr icon(icons.ReadIconFromEXEFile(path, name.c_str()));
    if (!icon) {
        CPeImage module;
        if (module.LoadFile(path))
            err << "torvex: " << options.input << " has no icon group " << resource << '\n';
    }
    return icon;
}

struct ImageRow {
    uint32_t width, height, bits, bytes;
    bool png;
};

std::vector<ImageRow> Rows(const ICONRESOURCE& icon) {
    std::vector<ImageRow> rows;
    for (uint32_t i = 0; i < icon.nNumImages; ++i) {
        const ICONIMAGE& image = icon.IconImages[i];
        rows.push_back({image.Width, image.Height, image.Colors, image.dwNumBytes, IsPng(image)});
    }
    return rows;
}

void PrintRowsText(const std::vector<ImageRow>& rows, std::ostream& out) {
    out << "  #  size        bits    bytes  stored\n";
    for (size_t i = 0; i < rows.size(); ++i) {
        const ImageRow& r = rows[i];
        std::ostringstream size;
        size << r.width << 'x' << r.height;
        out << std::setw(3) << i + 1 << "  " << std::left << std::setw(10) << size.str()
            << std::right << std::setw(6) << r.bits << std::setw(9) << r.bytes << "  "
            << (r.png ? "PNG" : "DIB") << '\n';
    }
}

std::string RowsJson(const std::vector<ImageRow>& rows, const std::string& indent) {
    std::ostringstream out;
    out << "[";
    for (size_t i = 0; i < rows.size(); ++i) {
        const ImageRow& r = rows[i];
        out << (i ? "," : "") << "\n"
            << indent << "  {\"width\": " << r.width << ", \"height\": " << r.height
            << ", \"bits\": " << r.bits << ", \"bytes\": " << r.bytes << ", \"stored\": \""
            << (r.png ? "PNG" : "DIB") << "\"}";
    }
    out << (rows.empty() ? "]" : "\n" + indent + "]");
    return out.str();
}

int RunInfo(const IconOptions& options, Kind kind, CIcons& icons, std::ostream& out,
            std::ostream& err) {
    const bool json = options.format == "json";
    const WideString path = FromUtf8(options.input);
    if (kind == Kind::Bmp) {
        CDib dib;
        dib.SetMessageHandler(Reporter(err));
        BlockPtr block(dib.ReadBMPFile(path));
        if (!block)
            return kExitFailed;
        const uint8_t* b = block.get();
        const uint32_t bytes =
            40u + CDib::PaletteSize(b) + CDib::BytesPerLine(b) * uint32_t(DibHeight(b));
        const std::vector<ImageRow> rows{{uint32_t(DibWidth(b)), uint32_t(DibHeight(b)),
                                          uint32_t(DibBitCount(b)), bytes, false}};
        if (json)
            out << "{\n  \"file\": " << JsonString(options.input)
                << ",\n  \"kind\": \"bitmap\",\n  \"images\": " << RowsJson(rows, "  ") << "\n}\n";
        else {
            out << options.input << ": bitmap, 1 image\n";
            PrintRowsText(rows, out);
        }
        return kExitOk;
    }
    if (kind == Kind::Ico) {
        ResourcePtr icon(icons.ReadIconFromICOFile(path));
        if (!icon)
            return kExitFailed;
        const std::vector<ImageRow> rows = Rows(*icon);
        if (json)
            out << "{\n  \"file\": " << JsonString(options.input)
                << ",\n  \"kind\": \"icon\",\n  \"images\": " << RowsJson(rows, "  ") << "\n}\n";
        else {
            out << options.input << ": icon, " << rows.size()
                << (rows.size() == 1 ? " image\n" : " images\n");
            PrintRowsText(rows, out);
        }
        return kExitOk;
    }
    // A module: the group named, or every icon group.
    CPeImage module;
    if (!module.LoadFile(path)) {
        // The library's two messages, as reading it would show them.
        icons.ReadIconFromEXEFile(path, nullptr);
        return kExitFailed;
    }
    std::vector<std::string> names;
    if (!options.resource.empty())
        names.push_back(options.resource);
    else
        for (const ResourceName& n : module.ResourceNames(RT_GROUP_ICON))
            names.push_back(ToUtf8(n.ToString()));
    std::vector<std::pair<std::string, std::vector<ImageRow>>> groups;
    for (const std::string& name : names) {
        const WideString wide = FromUtf8(name);
        ResourcePtr icon(icons.ReadIconFromEXEFile(path, wide.c_str()));
        if (!icon) {
            err << "torvex: " << options.input << " has no readable icon group " << name << '\n';
            return kExitFailed;
        }
        groups.emplace_back(name, Rows(*icon));
    }
    const char* format = module.Is64Bit() ? "PE32+" : "PE32";
    if (json) {
        out << "{\n  \"file\": " << JsonString(options.input) << ",\n  \"kind\": \"module\",\n"
            << "  \"format\": \"" << format << "\",\n  \"groups\": [";
        for (size_t g = 0; g < groups.size(); ++g)
            out << (g ? "," : "") << "\n    {\"name\": " << JsonString(groups[g].first)
                << ", \"images\": " << RowsJson(groups[g].second, "    ") << "}";
        out << (groups.empty() ? "]\n}\n" : "\n  ]\n}\n");
    } else {
        out << options.input << ": " << format << " module, " << groups.size()
            << (groups.size() == 1 ? " icon group\n" : " icon groups\n");
        for (const auto& [name, rows] : groups) {
            out << "group " << name << ": " << rows.size()
                << (rows.size() == 1 ? " image\n" : " images\n");
            PrintRowsText(rows, out);
        }
    }
    return kExitOk;
}

// A DIB of an icon image: a copy of its block with the height of one mask.
std::vector<uint8_t> ImageDib(const ICONIMAGE& image) {
    std::vector<uint8_t> dib(image.lpBits, image.lpBits + image.dwNumBytes);
    SetDibHeight(dib.data(), DibHeight(dib.data()) / 2);
    return dib;
}

// An icon image converted from a DIB to the size and depth given, or the DIB's own.
struct OwnedImage {
    ICONIMAGE image{};
    uint8_t placeholder = 0;
    OwnedImage() { image.lpBits = &placeholder; }
    ~OwnedImage() {
        if (image.lpBits != &placeholder)
            std::free(image.lpBits);
    }
    OwnedImage(const OwnedImage&) = delete;
    OwnedImage& operator=(const OwnedImage&) = delete;
};

bool Convert(CIcons& icons, const uint8_t* dib, const Wanted& wanted, bool stretch,
             OwnedImage& result) {
    result.image.Width = wanted.hasSize ? wanted.width : uint32_t(DibWidth(dib));
    const int32_t h = DibHeight(dib);
    result.image.Height = wanted.hasSize ? wanted.height : uint32_t(h < 0 ? -int64_t(h) : h);
    result.image.Colors = wanted.bits ? wanted.bits : DibBitCount(dib);
    return icons.DIBToIconImage(&result.image, dib, stretch ? 1 : 0) == 1;
}

bool EndsWith(std::string text, const std::string& suffix) {
    for (char& c : text)
        c = char(std::tolower(static_cast<unsigned char>(c)));
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

int RunConvert(const IconOptions& options, Kind kind, CIcons& icons, const Wanted& wanted,
               std::ostream& err) {
    const bool toIco = EndsWith(options.output, ".ico");
    if (!toIco && !EndsWith(options.output, ".bmp")) {
        err << "torvex: the output file must end in .ico or .bmp: " << options.output << '\n';
        return kExitUsage;
    }
    const WideString output = FromUtf8(options.output);
    const bool convert = wanted.hasSize || wanted.bits;
    OwnedImage converted;
    ICONIMAGE* image = nullptr;
    if (kind == Kind::Bmp) {
        CDib dib;
        dib.SetMessageHandler(Reporter(err));
        BlockPtr block(dib.ReadBMPFile(FromUtf8(options.input)));
        if (!block)
            return kExitFailed;
        if (!Convert(icons, block.get(), wanted, options.stretch, converted)) {
            err << "torvex: " << options.input << " cannot be converted to that size and depth\n";
            return kExitFailed;
        }
        image = &converted.image;
    }
    ResourcePtr icon;
    if (kind != Kind::Bmp) {
        int code = kExitFailed;
        icon = ReadIcon(kind, options, icons, err, code);
        if (!icon)
            return code;
        if (toIco && !convert && !wanted.index)
            return icons.WriteIconToICOFile(icon.get(), output) ? kExitOk : kExitFailed;
        int chosen = ChooseImage(*icon, wanted, true, false);
        if (chosen < 0 && convert && !wanted.index)
            chosen = ChooseImage(*icon, Wanted{}, false, false);
        if (chosen < 0) {
            err << "torvex: " << options.input << " has no such image that a DIB can be made of\n";
            return kExitFailed;
        }
        image = &icon->IconImages[chosen];
        if (IsPng(*image)) {
            err << "torvex: image " << chosen + 1 << " is stored as PNG, not as a DIB\n";
            return kExitFailed;
        }
        const bool matches =
            (!wanted.hasSize || (image->Width == wanted.width && image->Height == wanted.height)) &&
            (!wanted.bits || image->Colors == wanted.bits);
        if (!matches) {
            const std::vector<uint8_t> dib = ImageDib(*image);
            if (!Convert(icons, dib.data(), wanted, options.stretch, converted)) {
                err << "torvex: image " << chosen + 1
                    << " cannot be converted to that size and depth\n";
                return kExitFailed;
            }
            image = &converted.image;
        }
    }
    const int written = toIco ? icons.WriteIconToICOFile(std::vector<ICONIMAGE*>{image}, output)
                              : icons.IconImageToBMPFile(output, image);
    return written ? kExitOk : kExitFailed;
}

int RunPng(const IconOptions& options, Kind kind, CIcons& icons, const Wanted& wanted,
           std::ostream& err) {
    HICON picture;
    OwnedImage converted;
    ResourcePtr icon;
    if (kind == Kind::Bmp) {
        CDib dib;
        dib.SetMessageHandler(Reporter(err));
        BlockPtr block(dib.ReadBMPFile(FromUtf8(options.input)));
        if (!block)
            return kExitFailed;
        Wanted own = wanted;
        if (!own.bits)
            own.bits = DibBitCount(block.get()) == 16 ? 24 : DibBitCount(block.get());
        if (!Convert(icons, block.get(), own, options.stretch, converted)) {
            err << "torvex: " << options.input << " cannot be decoded\n";
            return kExitFailed;
        }
        picture = icons.MakeIconFromResource(&converted.image);
    } else {
        int code = kExitFailed;
        icon = ReadIcon(kind, options, icons, err, code);
        if (!icon)
            return code;
        const int chosen = ChooseImage(*icon, wanted, true, true);
        if (chosen < 0) {
            err << "torvex: " << options.input << " has no such image\n";
            return kExitFailed;
        }
        picture = icons.MakeIconFromResource(&icon->IconImages[chosen]);
    }
    if (!picture) {
        err << "torvex: the image cannot be decoded (16-bit and compressed images are not)\n";
        return kExitFailed;
    }
    if (picture->png) {
        // Stored as PNG already: its bytes are the file.
        std::ofstream file(options.output, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(picture->pngData.data()),
                   std::streamsize(picture->pngData.size()));
        file.close();
        if (!file) {
            err << "torvex: cannot write " << options.output << '\n';
            return kExitFailed;
        }
        return kExitOk;
    }
    std::string error;
    if (!WritePng(options.output, picture->width, picture->height, picture->bgra, error)) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }
    return kExitOk;
}

void AddSelection(CLI::App* command, IconOptions& options) {
    command->add_option("--resource,-r", options.resource,
                        "Icon group of an executable: its name, or #123 for a number");
    command->add_option("--size", options.size, "Image size WIDTHxHEIGHT");
    command->add_option("--bits", options.bits, "Bits per pixel")
        ->check(CLI::IsMember({1u, 4u, 8u, 16u, 24u, 32u}));
    command->add_option("--index", options.index, "Image number as `info` lists it (from 1)")
        ->check(CLI::PositiveNumber);
}

} // namespace

CLI::App* AddIconCommand(CLI::App& app, IconOptions& options) {
    CLI::App* icon = app.add_subcommand(
        "icon", "ICO and BMP files and icon groups of executables: list, convert, render");
    icon->require_subcommand(1);

    options.info = icon->add_subcommand("info", "List the images of an ICO, BMP, EXE or DLL file");
    options.info->add_option("file", options.input, "ICO, BMP, EXE or DLL file")->required();
    options.info->add_option("--resource,-r", options.resource,
                             "Icon group of an executable (default: every group)");
    options.info->add_option("--format,-f", options.format, "Output format")
        ->check(CLI::IsMember({"text", "json"}));

    options.convert = icon->add_subcommand(
        "convert", "Convert between ICO and BMP (by OUT's extension), or extract an icon group "
                   "of an executable to an ICO file");
    options.convert->add_option("in", options.input, "ICO, BMP, EXE or DLL file")->required();
    options.convert->add_option("out", options.output, "ICO or BMP file to write")->required();
    AddSelection(options.convert, options);
    options.convert->add_flag("--stretch", options.stretch,
                              "Stretch to --size (nearest neighbour) instead of cropping");

    options.png = icon->add_subcommand("png", "Write one image, decoded, as a PNG file");
    options.png->add_option("in", options.input, "ICO, BMP, EXE or DLL file")->required();
    options.png->add_option("out", options.output, "PNG file to write")->required();
    AddSelection(options.png, options);
    options.png->add_flag("--stretch", options.stretch,
                          "Stretch a bitmap to --size instead of cropping it");
    return icon;
}

int RunIcon(const IconOptions& options, std::ostream& out, std::ostream& err) {
    Wanted wanted;
    if (!ReadWanted(options, wanted, err))
        return kExitUsage;
    std::string error;
    const Kind kind = DetectKind(options.input, error);
    if (kind == Kind::Unknown) {
        err << "torvex: " << error << '\n';
        return kExitFailed;
    }
    CIcons icons;
    icons.SetMessageHandler(Reporter(err));
    if (options.info && options.info->parsed())
        return RunInfo(options, kind, icons, out, err);
    if (options.convert && options.convert->parsed())
        return RunConvert(options, kind, icons, wanted, err);
    return RunPng(options, kind, icons, wanted, err);
}

} // namespace torvex::cli
