// Runs programs for the release tests in a scratch folder of their own and collects what a user
// sees: exit status, standard output and error.
#pragma once

#include <string>
#include <vector>

struct ProgramResult
{
    int status = -1; // exit status, 128 + N for a signal, -1 when it could not be started
    std::string out;
    std::string err;
};

class CScratch
{
public:
    CScratch();
    ~CScratch();
    CScratch(const CScratch&) = delete;
    CScratch& operator=(const CScratch&) = delete;

    std::string Path(const std::string& name) const { return mFolder + "/" + name; }
    const std::string& Folder() const { return mFolder; }

    // Runs argv with standard input from /dev/null; env replaces the environment when not empty.
    ProgramResult Run(const std::vector<std::string>& argv, const std::vector<std::string>& env = {});

    static std::string ReadText(const std::string& path);
    static bool WriteText(const std::string& path, const std::string& text, unsigned mode);
    static bool Exists(const std::string& path);

private:
    std::string mFolder;
    unsigned mRuns = 0;
};
