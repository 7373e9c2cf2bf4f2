// torvex: opens catalogue families from the command line.

#include "Commands.h"

#include <CLI/CLI.hpp>

#include <iostream>

int main(int argc, char** argv) {
    CLI::App app{"torvex: open, show and evaluate families of a catalogue of standard parts"};
    app.require_subcommand(1);
    app.set_help_all_flag("--help-all", "Print help for every command");

    torvex::cli::ShowOptions show;
    CLI::App* showCommand =
        app.add_subcommand("show", "Print a family's columns and its rows with raw cell values");
    showCommand->add_option("family", show.familyPath, "Family document (XML)")->required();
    showCommand->add_option("--strings,-s", show.stringPaths,
                            "String document of one language (repeatable; the first is the "
                            "actual language)");
    showCommand->add_option("--width,-w", show.width,
                            "Width of the output in characters (default: the terminal's)");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        // Help is no error; every other word the parser refuses is a usage error.
        return app.exit(e) == 0 ? 0 : 2;
    }

    try {
        if (showCommand->parsed())
            return torvex::cli::RunShow(show, std::cout, std::cerr);
    } catch (const std::exception& e) {
        std::cerr << "torvex: " << e.what() << '\n';
        return 2;
    }
    return 0;
}
