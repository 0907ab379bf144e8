// SPDX-License-Identifier: MIT
// PFile: text files, line by line.
#ifndef IXLAL_PFILE_H
#define IXLAL_PFILE_H

#include "PExport.h"
#include "PString.h"

#include <cstddef>

/// A text file in UTF-8, in every locale. Reading: lines end at LF or CRLF, the last line may lack
/// its end, a byte-order mark at the start is skipped, and bytes that are not valid UTF-8 become
/// the characters U+DC80 to U+DCFF, which are written back as those bytes. Writing: one call writes
/// one line that reads back as the same text, including line breaks and zeros inside it (see
/// PUtf8).
///
/// Operations return 0 or a negated errno (-9 when no file is open, -12 for lack of memory). None
/// throws. One PFile belongs to one thread at a time.
class IXLA_EXPORT PFile
{
public:
    /// Bits of the open mode.
    enum EMode
    {
        eRead = 1,
        eWrite = 2,
        eNewText = 8, ///< empties the file first
        eCreate = 16  ///< creates the file when it is missing
    };

    PFile() noexcept;

    /// Closes an open file and drops the result; writers call pclose to get it.
    ~PFile();

    PFile(const PFile&) = delete;
    PFile& operator=(const PFile&) = delete;

    /// Opens iPath with close-on-exec and repeats interrupted calls. iAccess has the permission
    /// bits of a created file, less the umask; 0 means 0600. Without eNewText writing starts at the
    /// end of the file. Returns -22 for a mode without reading or writing and for a path with a
    /// zero character, -16 when a file is already open, -21 for a directory. Opening a named pipe
    /// waits for its other end.
    int popen(const PLiteral& iPath, unsigned int iMode, unsigned int iAccess) noexcept;

    /// Writes the buffer and closes the file. Returns the first error of any write since popen, or
    /// of closing.
    int pclose() noexcept;

    /// Reads the next line without its end. Returns 0, -61 at the end of the file, or the error of
    /// reading. oLine is unchanged unless the result is 0.
    int preadLine(PString& oLine) noexcept;

    /// Writes iLine and a line end. Returns 0 or the first write error. After a write error nothing
    /// more is written.
    int pwriteLine(const PLiteral& iLine) noexcept;

    /// Reserves memory for lines of up to iLen characters, before or after opening. Writing them
    /// then needs no more memory. Returns 0 or -12.
    int reserve(unsigned int iLen) noexcept;

    /// Reduces a path to the part after its last "/".
    static void getFileName(PString& ioPath) noexcept;

    /// Whether there is a file of any kind at iPath. [any thread]
    static bool exists(const PLiteral& iPath) noexcept;

    /// Deletes a file. [any thread]
    static int pdelete(const PLiteral& iPath) noexcept;

private:
    int endWriting() noexcept;
    int startWriting(const PLiteral& iLine) noexcept;
    int takeLine(const char* iEnd, PString& oLine) noexcept;
    int fillBuffer() noexcept;
    int flushBuffer() noexcept;
    int reserveBuffer(unsigned long long iSize) noexcept;

    int fHandle;        ///< -1 while closed
    unsigned int fMode; ///< as given to popen
    int fWriteResult;   ///< the first write error
    char* fBuffer;      ///< bytes read ahead, or bytes not written yet
    std::size_t fBegin; ///< first byte of the buffer that has not been returned
    std::size_t fEnd;   ///< end of the bytes in the buffer
    std::size_t fCapacity;
    bool fAtStart; ///< the next line is the first of the file
    bool fWriting; ///< the buffer holds bytes to be written
};

#endif
