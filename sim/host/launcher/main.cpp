// sarvik-sim: runs a command in a simulated broadcast video server (see sim/README.md).
#include "Launcher.h"
#include "LauncherOptions.h"
#include "ModuleTool.h"
#include "SimServer.h"

#include <cstdio>
#include <cstring>

int main(int argc, char** argv)
{
    if (argc >= 2 && std::strcmp(argv[1], "image") == 0)
        return sim::imageCommand(argc - 2, argv + 2);
    if (argc >= 2 && std::strcmp(argv[1], simhost::ModuleTool::kOption) == 0)
        return simhost::ModuleTool::run(argc - 2, argv + 2);
    simhost::LauncherOptions options;
    std::string error;
    if (!options.parse(argc, argv, &error))
    {
        std::fprintf(stderr, "sarvik-sim: %s\n%s", error.c_str(), simhost::LauncherOptions::usage().c_str());
        return 2;
    }
    if (options.help)
    {
        std::fputs(simhost::LauncherOptions::usage().c_str(), stdout);
        return 0;
    }
    return simhost::Launcher(options).run();
}
