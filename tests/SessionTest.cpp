// Sessions: commands as users type them, and what they print. In tests/sessions a line "$ COMMAND"
// is run by bash in the session's own folder, after the file profile there; the lines up to the
// next one are what it prints on both streams, as cat -v shows it, and its status in brackets where
// that is not 0. # is a comment.
#include "ToolRun.h"

namespace {

namespace fs = std::filesystem;

class Session : public ToolTest, public testing::WithParamInterface<std::string> {
  protected:
    Session() {
        fs::create_directory(mFolder + "/bin");
        fs::create_symlink(converter(), mFolder + "/bin/VexConverter");
        fs::create_symlink(MAKE_DUMP, mFolder + "/bin/make-dump");
        fs::create_symlink(PROJECT, mFolder + "/project");
    }

    std::string print(const std::string& command) const {
        write("command",
              "exec 2>&1; PATH=$PWD/bin:$PATH PROJECT=$PWD/project DATA=$PWD/project/tests/data\n"
              "[ ! -e profile ] || . ./profile\n" +
                  command);
        const ToolResult result = run("bash", {"command"});
        write("printed", result.out);
        const std::string status =
            result.status == 0 ? "" : "[" + std::to_string(result.status) + "]\n";
        return run("cat", {"-v", "printed"}).out + status;
    }
};

TEST_P(Session, PrintsWhatIsWritten) {
    const std::string path = PROJECT "/tests/sessions/" + GetParam() + ".session";
    std::ifstream file(path);
    std::string command;
    std::string expected;
    int start = 0;  // the command's line
    const auto check = [&] {
        const std::string printed = command.empty() ? "" : print(command);
        if (printed != expected) {
            ADD_FAILURE_AT(path.c_str(), start) << "$ " << command << "--- is to print:\n"
                                                << expected << "--- prints:\n"
                                                << printed;
        }
        command = expected = "";
    };
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        const bool starts = line.rfind("$ ", 0) == 0;
        const bool continues = !command.empty() && line.rfind("> ", 0) == 0;
        if (starts || line[0] == '#') {
            check();
            start = number;
        }
        if (starts || continues) {
            command += line.substr(2) + "\n";
        } else if (line[0] != '#') {
            expected += line + "\n";
        }
    }
    check();
}

std::vector<std::string> sessions() {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(PROJECT "/tests/sessions")) {
        names.push_back(entry.path().stem());
    }
    return names;
}

INSTANTIATE_TEST_SUITE_P(All, Session, testing::ValuesIn(sessions()),
                         [](const auto& i) { return std::string(i.param); });

}  // namespace
