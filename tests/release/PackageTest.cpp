// The Debian package as an administrator gets it: its control fields and contents, then an
// install with dpkg -i in a sandbox and the installed tool run against the simulated server.
#include "SimRun.h"

#include <regex>
#include <sys/stat.h>

#include <gtest/gtest.h>

namespace
{
const std::string kTextReport = "Serial number : KV0012345\nChassis : KV5-4U\n";

// An i386 package's dependencies are i386 packages: libjsoncpp25 is the i386 JsonCpp runtime, the
// one whose library the binary needs.
TEST(Package, ControlFieldsNameTheI386ToolAndItsRuntime)
{
    CSimRun scratch;
    const SSimResult r = scratch.Host(
        {"dpkg-deb", "--field", SARVIK_DEB_PATH, "Package", "Version", "Architecture", "Section", "Depends"});
    ASSERT_EQ(r.Status, 0) << r.Err;
    EXPECT_EQ(r.Out.substr(0, r.Out.find("Depends: ")),
              "Package: sarvik\nVersion: " SARVIK_VERSION "\nArchitecture: i386\nSection: admin\n");
    EXPECT_NE(r.Out.find("libjsoncpp25"), std::string::npos) << r.Out;
    const SSimResult needed = scratch.Host({"objdump", "-p", CSimRun::S_Tool});
    EXPECT_NE(needed.Out.find("NEEDED               libjsoncpp.so.25"), std::string::npos) << needed.Out;
}

TEST(Package, ContainsTheToolItsManualPageAndTheReadme)
{
    CSimRun scratch;
    const SSimResult r = scratch.Host({"dpkg-deb", "--contents", SARVIK_DEB_PATH});
    ASSERT_EQ(r.Status, 0) << r.Err;
    // Modes as dpkg-deb --contents shows them. The tool is not set-user-ID: the administrator's choice.
    const std::pair<const char*, const char*> cases[] = {
        {"./usr/sbin/Sarvik", "-rwxr-xr-x root/root"},
        {"./usr/share/man/man8/Sarvik.8.gz", "-rw-r--r-- root/root"},
        {"./usr/share/doc/sarvik/README.md", "-rw-r--r-- root/root"},
        {"./usr/share/doc/sarvik/running-sarvik.md", "-rw-r--r-- root/root"},
        {"./usr/share/doc/sarvik/copyright", "-rw-r--r-- root/root"},
        {"./usr/share/doc/sarvik/changelog.gz", "-rw-r--r-- root/root"},
    };
    for (const auto& [path, mode] : cases)
        EXPECT_TRUE(
            std::regex_search(r.Out, std::regex(std::string("(^|\n)") + mode + " [^\n]* " + path + "\n")))
            << path << " " << mode << " not in\n"
            << r.Out;
}

// A private mount namespace with tmpfs layers over /usr, /etc and /var: whatever dpkg writes there
// vanishes with it, and no step runs unless every layer is in place (and each step only when the
// one before succeeded). The contents listing above already shows the modes and the documentation.
TEST(Package, InstallsWithDpkgAndTheInstalledToolReadsTheUnit)
{
    CSimRun scratch;
    const std::string man = "/usr/share/man/man8/Sarvik.8.gz";
    const std::string script =
        "set -e; mount -t tmpfs tmpfs \"$0\"; for d in usr etc var; do mkdir \"$0/$d-u\" \"$0/$d-w\"; "
        "mount -t overlay overlay -o \"lowerdir=/$d,upperdir=$0/$d-u,workdir=$0/$d-w\" /$d; done\n"
        "dpkg -i \"$1\"\n"
        "dpkg-query -W -f '${Status} ${Version}\\n' sarvik\n"
        "\"$2\" -- /usr/sbin/Sarvik\n"
        "man -w 8 Sarvik\n"
        "man -P cat -l " +
        man +
        " | grep -m 1 'Sarvik - '\n"
        // The manual page renders without a single warning from man or groff.
        "echo \"warnings: $(man --warnings -P cat -l " +
        man + " 2>&1 >/dev/null)\"\n";
    const std::string layers = scratch.Path("layers");
    ASSERT_EQ(mkdir(layers.c_str(), 0755), 0);
    const SSimResult sandbox = scratch.Host({"unshare", "--mount", "--propagation", "private", "sh", "-c",
                                             script, layers, SARVIK_DEB_PATH, CSimRun::S_Sim});
    ASSERT_EQ(sandbox.Status, 0) << sandbox.Out << sandbox.Err;
    size_t at = 0;
    for (const std::string& text :
         Args{"Setting up sarvik:i386 (" SARVIK_VERSION ")", "install ok installed " SARVIK_VERSION "\n",
              kTextReport, man + "\n", "Sarvik - print the serial number", "\nwarnings: \n"})
    {
        at = sandbox.Out.find(text, at);
        ASSERT_NE(at, std::string::npos) << "'" << text << "' missing or out of order in\n" << sandbox.Out;
    }
}

} // namespace
