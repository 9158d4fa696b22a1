#pragma once

#include <zun/Api.h>
#include <zun/binary/ABuffer.h>
#include <zun/text/AString.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>

/// Owns one stdio stream on a file. The result of every operation is whether it succeeded; a failure is
/// logged under "File", with the call and the path in the trace. Paths and lines are converted as ACharString
/// does. Opening follows no link and opens no file that a stranger may have prepared (see docs/security.md),
/// never waits for the partner of a pipe, and yields no descriptor that a child inherits. New files are
/// 0664 within the umask. One thread at a time.
class ZUN_API AFile {
public:
    AFile() = default;
    AFile(AFile const&) = delete;
    AFile& operator=(AFile const&) = delete;
    ~AFile();

    bool isOpen() const { return m_stream != nullptr; }

    /// Reports nothing, not even a failure of fclose(3).
    void close();

    /// For reading. Opening closes what is open. A missing file is logged only if `complainIfMissing`.
    bool open(bool complainIfMissing, AString const& path);

    /// For writing, behind the contents if `append`, else in their place.
    bool openWrite(AString const& path, bool append);

    /// openWrite without append.
    bool openAlways(AString const& path);

    /// The bytes up to the next line feed, each converted by itself as AString does with a char; a carriage
    /// return belongs to them. The line feed of the last line may be missing. False at the end of the file
    /// too. A line that there is no memory for is passed over, with false or std::bad_alloc.
    bool readLine(AString& line);

    /// Writes the line and a line feed, and passes them to the system.
    bool writeLine(AString const& line);

    /// To the place that `origin` names, SEEK_SET, SEEK_CUR or SEEK_END, see fseek(3).
    bool seek(int origin);
    bool seekBegin();
    bool seekEnd();

    /// The whole file, of at most 1 GiB, wherever the position is.
    bool read(ABuffer& into);

    /// Writes the bytes and passes them to the system; when not all of them went there, that is a failure.
    bool write(unsigned char const* bytes, int count);
    bool write(ABuffer const& data);

    /// The whole file at `path`.
    static bool read(bool complainIfMissing, AString const& path, ABuffer& into);

    /// Replaces the contents of the file at `path`.
    static bool write(AString const& path, unsigned char const* bytes, int count);
    static bool write(AString const& path, ABuffer const& data);

private:
    struct FreeBuffer {
        void operator()(char* buffer) const { std::free(buffer); }
    };

    bool requireOpen() const;
    bool writeBytes(unsigned char const* bytes, unsigned long count);

    std::FILE* m_stream = nullptr;
    AString m_path;
    AString m_lineTrace;
    std::unique_ptr<char, FreeBuffer> m_lineBuffer;
    std::size_t m_lineBufferSize = 0;
};
