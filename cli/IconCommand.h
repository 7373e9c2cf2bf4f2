#pragma once
// torvex icon: ICO and BMP files and the icon resources of executables.
//   torvex icon info FILE [--resource NAME] [--format text|json]
//   torvex icon convert IN OUT [--resource NAME] [--size WxH] [--bits N] [--stretch] [--index N]
//   torvex icon png IN OUT.png [--resource NAME] [--size WxH] [--bits N] [--index N]
// Exit codes as the tool's: 0 success, 1 a file cannot be read, has no such image or cannot be
// written, 2 a usage error.

#include <CLI/CLI.hpp>

#include <ostream>
#include <string>

namespace torvex::cli {

struct IconOptions {
    std::string input;
    std::string output;
    std::string resource; // icon group of an executable: a name, or "#123"
    std::string format = "text";
    std::string size;  // "WxH"
    unsigned bits = 0; // 0: not given
    bool stretch = false;
    unsigned index = 0; // 1-based image number; 0: not given
    CLI::App* info = nullptr;
    CLI::App* convert = nullptr;
    CLI::App* png = nullptr;
};

/// Adds `icon` with its three subcommands to the tool.
CLI::App* AddIconCommand(CLI::App& app, IconOptions& options);
/// Runs whichever of the subcommands was parsed.
int RunIcon(const IconOptions& options, std::ostream& out, std::ostream& err);

} // namespace torvex::cli
