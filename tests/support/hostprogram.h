#ifndef HOSTPROGRAM_H
#define HOSTPROGRAM_H

/// Runs programs and catches what they write.

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

namespace hostprogram
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
        std::string name = testing::TempDir() + "zk.XXXXXX";
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

/// A program with its arguments as one shell command, under the emulator where it is
/// built for another machine.
inline std::string commandLine(const std::string &path, const Words &arguments)
{
    std::string command = std::string(ZK_EMULATOR) + ' ' + quoted(path);
    for (const std::string &argument : arguments) {
        command += ' ' + quoted(argument);
    }
    return command;
}

inline Words operator+(Words first, const Words &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

} // namespace hostprogram

#endif
