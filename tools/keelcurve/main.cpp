// keelcurve: loads, inspects, samples, plots and converts animation curves
// with the engine. Every failure is one line on stderr and exit status 2.

#include "commands.h"
#include "toolError.h"

#include <cstdio>
#include <exception>

int main(int argc, char** argv)
{
    CLI::App app{"keelcurve: look at, bake and convert animation curves with the Keelanim engine"};
    app.require_subcommand(1);
    addImportCommand(app);
    addInfoCommand(app);
    addEvalCommands(app);
    addPlotCommand(app);
    addExportCommand(app);
    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        // --help is a "parse error" with status 0; a usage error is bad input.
        return app.exit(error) == 0 ? kExitOk : kExitBadInput;
    } catch (TtoolFailure const& failure) {
        std::fprintf(stderr, "keelcurve: error: %s\n", failure.what());
        return kExitBadInput;
    } catch (std::exception const& error) {
        std::fprintf(stderr, "keelcurve: error: %s\n", error.what());
        return kExitBadInput;
    }
    return kExitOk;
}
