// The example programs, run as a user would run them. What a user sees stands in the *.session
// files beside this one, whose lines are:
//
//     $ fetch {server}/echo "a b"    runs a program, which is to succeed, or to end with the digit
//                                    in front of the `$`
//     > "folder/name" "text"         writes a file of the user's data
//     < "folder/name"                reads one: the lines that follow are of this file
//     # and empty lines              mean nothing
//     anything else                  is in the output, behind the line before

#include <Poco/String.h>

#include <morvel/morvel.h>
#include <tests/support/Process.h>
#include <tests/support/TestServer.h>

namespace {

struct User {
    ProcessResult Run(const std::string& name, const std::vector<std::string>& arguments) const {
        return RunProcess(PROGRAMS "/" + name + SUFFIX, arguments,
                          {{"no_proxy", "*"}, {"XDG_DATA_HOME", data.File("")}});
    }

    void Follow(std::string line) {
        Poco::replaceInPlace(line, std::string("{server}"), server.Url(""));
        Poco::replaceInPlace(line, std::string("{nobody}"), nobody);
        Poco::replaceInPlace(line, std::string("{data}"), data.Path().u8string());
        std::istringstream in(line);
        std::string sign, word;
        std::vector<std::string> words;
        in >> sign;
        while (in >> std::quoted(word)) words.push_back(word);
        if (sign == "" || sign[0] == '#') return;
        if (sign.back() == '$') {
            const auto result = Run(words.at(0), {words.begin() + 1, words.end()});
            text = Poco::replace(result.output, "\r\n", "\n");
            EXPECT_EQ(result.exitCode, std::atoi(sign.c_str())) << text;
        } else if (sign == ">") {
            std::filesystem::create_directories(
                std::filesystem::u8path(data.File(words.at(0))).parent_path());
            data.Write(words[0], words.at(1));
        } else if (sign == "<") {
            text = data.Read(words.at(0));
        } else {
            const std::size_t place = text.find(line);
            EXPECT_NE(place, std::string::npos) << text;
            text.erase(0, place == std::string::npos ? 0 : place + line.size());
        }
    }

    const TemporaryFolder data;
    const TestServer server;
    const std::string nobody = TestServer().Url("");
    std::string text;
};

}  // namespace

TEST(Examples, DoWhatTheirSessionsShow) {
    for (const auto& entry : std::filesystem::directory_iterator(SESSIONS)) {
        if (entry.path().extension() != ".session") continue;
        User user;
        std::ifstream in(entry.path());
        for (std::string line; std::getline(in, line);) {
            SCOPED_TRACE(entry.path().filename().u8string() + ": " + line);
            user.Follow(line);
        }
    }
}

TEST(Notebook, LosesNothingToASecondProcess) {
    const User user;
    InThreads(4, [&](int number) {
        for (int entry = 0; entry < 10; ++entry) {
            user.Run("notebook", {"add", std::to_string(10 * number + entry)});
        }
    });
    const std::string list = user.Run("notebook", {"list"}).output;
    EXPECT_EQ(std::count(list.begin(), list.end(), '\n'), 40) << list;
}
