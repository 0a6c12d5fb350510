#ifndef ZKTEXT_TEMPORARYFILE_H
#define ZKTEXT_TEMPORARYFILE_H

#include <cstdio>
#include <string>

namespace zktext
{

/// A file without a name that lives as long as this object.
class TemporaryFile
{
public:
    /// Throws `Failure` when the system gives none.
    TemporaryFile();
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    int descriptor() const;

    /// A path that opens this file, for those who write to paths only.
    std::string path() const;

    /// Everything in it.
    std::string bytes() const;

private:
    std::FILE *m_file;
};

} // namespace zktext

#endif
