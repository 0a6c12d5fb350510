#ifndef ZKTEXTPROGRAM_H
#define ZKTEXTPROGRAM_H

/// Runs the command-line host and catches what it writes.

#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace zktextprogram
{

typedef std::vector<std::string> Words;

inline std::string quoted(const std::string &word)
{
    std::string out = "'";
    for (const char c : word) {
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return out + "'";
}

inline std::string readFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

inline void writeFile(const std::string &path, const std::string &bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

/// A folder of the test's own, removed with what lies in it.
class Folder
{
public:
    Folder()
    {
        std::string name = testing::TempDir() + "zktext.XXXXXX";
        m_path = mkdtemp(&name[0]);
    }
    ~Folder()
    {
        for (const std::string &name : names()) {
            std::remove(path(name).c_str());
        }
        rmdir(m_path.c_str());
    }

    std::string path(const std::string &name) const { return m_path + '/' + name; }

    std::vector<std::string> names() const
    {
        std::vector<std::string> found;
        DIR *folder = opendir(m_path.c_str());
        while (const dirent *entry = readdir(folder)) {
            if (entry->d_name != std::string(".") && entry->d_name != std::string("..")) {
                found.push_back(entry->d_name);
            }
        }
        closedir(folder);
        return found;
    }

private:
    std::string m_path;
};

struct Result {
    int status;
    std::string out;
    std::string err;
};

/// Runs a shell command line with standard input from `input`.
inline Result shell(const std::string &command, const std::string &input = std::string())
{
    const Folder folder;
    writeFile(folder.path("in"), input);
    const std::string line = command + " <" + quoted(folder.path("in")) + " >" +
                             quoted(folder.path("out")) + " 2>" + quoted(folder.path("err"));
    const int status = std::system(line.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile(folder.path("out")),
            readFile(folder.path("err"))};
}

/// The program with its arguments as one shell command.
inline std::string zktext(const Words &arguments)
{
    std::string command = std::string(ZK_EMULATOR) + ' ' + quoted(ZK_ZKTEXT);
    for (const std::string &argument : arguments) {
        command += ' ' + quoted(argument);
    }
    return command;
}

inline Result run(const Words &arguments, const std::string &input = std::string())
{
    return shell(zktext(arguments), input);
}

inline Words operator+(Words first, const Words &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

} // namespace zktextprogram

#endif
