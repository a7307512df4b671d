#pragma once

#include <CLI/CLI.hpp>

// Each subcommand registers itself with its options and the action that runs
// it; an action reports failures by throwing TtoolFailure (see toolError.h).
void addImportCommand(CLI::App& app);  // gltfImport.cpp
void addExportCommand(CLI::App& app);  // gltfExport.cpp
void addInfoCommand(CLI::App& app);    // infoCommand.cpp
void addEvalCommands(CLI::App& app);   // evalCommand.cpp: eval and bake
void addPlotCommand(CLI::App& app);    // plotCommand.cpp
