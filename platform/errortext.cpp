#include "platform/errortext.h"

#include <algorithm>
#include <iterator>

namespace
{
struct ErrorText
{
    DWORD dwErrCode;
    std::string_view aText;
};

// In ascending order. A number is here when this layer or the library can produce it, or tells it apart from
// others.
constexpr ErrorText g_aTexts[] = {
    { 0, "No error: the operation succeeded." },
    { 1, "This function does not exist or does not apply here." },
    { 2, "There is no file of that name." },
    { 3, "There is no folder of that name." },
    { 4, "Too many files are open; no more can be opened." },
    { 5, "Access was denied." },
    { 6, "The handle is not valid." },
    { 7, "The blocks that administer memory are damaged." },
    { 8, "There is not enough memory for this operation." },
    { 9, "The address of a memory block is not valid." },
    { 10, "The environment is not correct." },
    { 11, "A program was given in a wrong format." },
    { 12, "The access code is not valid." },
    { 13, "The data is not valid." },
    { 14, "Memory is exhausted; the operation could not be completed." },
    { 15, "There is no such drive." },
    { 16, "The current folder cannot be removed." },
    { 17, "A file cannot be moved to another disk by renaming it." },
    { 18, "There are no further files." },
    { 19, "The medium is write-protected." },
    { 20, "There is no such device unit." },
    { 21, "The device is not ready." },
    { 22, "The device does not know this command." },
    { 23, "The device could not read or write the data whole." },
    { 24, "A command was issued with a wrong length." },
    { 25, "The wanted place on the medium cannot be found." },
    { 26, "The medium cannot be read by this system." },
    { 27, "A sector of the medium cannot be found." },
    { 28, "The printer has run out of paper." },
    { 29, "Writing to the device failed." },
    { 30, "Reading from the device failed." },
    { 31, "A device of this system does not work." },
    { 32, "The file is in use by another process and cannot be opened." },
    { 33, "Part of the file is locked by another process." },
    { 34, "A wrong medium is in the drive." },
    { 36, "Too many files are open for sharing." },
    { 38, "The end of the file was reached." },
    { 39, "There is no room left on the disk." },
    { 50, "The request is not supported." },
    { 51, "The other computer does not answer." },
    { 52, "There is a second computer of the same name on the network." },
    { 53, "The network path was not found." },
    { 54, "The network is busy." },
    { 55, "The device or network resource no longer exists." },
    { 57, "A network adapter failed." },
    { 58, "The server cannot carry out this operation." },
    { 59, "An unexpected network error occurred." },
    { 60, "The adapter of the other computer does not fit." },
    { 62, "The server has no room for the print file." },
    { 64, "The network name is no longer available." },
    { 65, "Network access was denied." },
    { 66, "The network resource is of another type." },
    { 67, "The network name was not found." },
    { 68, "There are too many names on this computer's network adapter." },
    { 70, "The server is paused or just starting." },
    { 71, "No further connection to this computer is possible; it has as many as it takes." },
    { 80, "The file exists already." },
    { 82, "The file or folder cannot be created." },
    { 85, "The local device name is in use already." },
    { 86, "The network password is wrong." },
    { 87, "A parameter is not correct." },
    { 88, "Writing to the network failed." },
    { 89, "No further process can be started now." },
    { 107, "The program stopped: the medium for %1 was not in the drive." },
    { 108, "The drive is locked by another process." },
    { 109, "The pipe was closed at its other end." },
    { 110, "The device or file cannot be opened." },
    { 111, "The file name is too long." },
    { 112, "The disk has not enough free space." },
    { 113, "No further internal file numbers are available." },
    { 114, "The internal file number is wrong." },
    { 117, "The application's control call to the device is not correct." },
    { 120, "This function is not implemented on this system." },
    { 121, "The time for waiting on a semaphore is over." },
    { 122, "The buffer is too small for the data." },
    { 123, "The name of a file, folder or disk is not written correctly." },
    { 124, "The information level is not valid." },
    { 125, "The disk has no label." },
    { 126, "The module was not found." },
    { 127, "The procedure was not found in the module." },
    { 128, "There are no child processes to wait for." },
    { 131, "The file position cannot lie before the beginning of the file." },
    { 132, "Positions cannot be set on this device or file." },
    { 144, "The folder is not a folder below the root." },
    { 145, "The folder is not empty." },
    { 154, "The name of the disk is too long." },
    { 156, "The receiving process refused the signal." },
    { 158, "This part of the file was not locked." },
    { 161, "The path is not valid." },
    { 164, "No further threads can be started." },
    { 167, "A part of the file could not be locked." },
    { 170, "The resource is in use." },
    { 182, "The system cannot run %1." },
    { 183, "The object to be created exists already." },
    { 191, "%1 has no valid signature and cannot be run." },
    { 193, "%1 is not a program or library for this system." },
    { 206, "The file name or its extension is too long." },
    { 208, "Wildcard characters were given where none are allowed, or too many of them." },
    { 223, "The file is larger than this system or file system allows." },
    { 232, "The pipe is being closed." },
    { 234, "There is more data than was handed out." },
    { 258, "The time for waiting is over." },
    { 259, "There is no further data." },
    { 267, "The name is not that of a folder." },
    { 288, "The lock is not held by the caller who wants to release it." },
    { 298, "The semaphore was released too often." },
    { 299, "Only a part of the memory could be read or written." },
    { 317, "There is no text for message number 0x%1 in the message file for %2." },
    { 487, "The address is not valid." },
    { 995, "The operation was ended because its thread ended or the application asked for it." },
    { 996, "The operation has not come to its end." },
    { 997, "The operation goes on in the background." },
    { 998, "The memory at that place may not be accessed." },
    { 999, "A page of memory could not be brought in." },
    { 1001, "The stack is exhausted; calls are nested too deeply." },
    { 1002, "The window cannot handle the message that was sent to it." },
    { 1003, "The function could not be completed." },
    { 1004, "The flags are not valid." },
    { 1006, "The volume of an open file was changed from outside; the file is no longer valid." },
    { 1008, "There is no such token." },
    { 1009, "The registry's data is not valid." },
    { 1010, "The registry key is not valid." },
    { 1011, "The registry key cannot be opened." },
    { 1012, "The registry key cannot be read." },
    { 1013, "The registry key cannot be written." },
    { 1014, "A file of the registry had to be repaired from its log or copy; the repair succeeded." },
    { 1015, "The registry is damaged: one of its files is not in order and could not be repaired." },
    { 1016, "The registry could not read, write or flush one of its files." },
    { 1017, "The file that was to be loaded into the registry is not in the registry's format." },
    { 1018, "The registry key was marked for deletion; nothing can be done with it." },
    { 1020, "A link cannot be made of a registry key that has keys or values below it." },
    { 1021, "A lasting registry key cannot be made below one that is not." },
    { 1064, "A service that handled the request ended with an exception." },
    { 1113, "There is no character in the other code page for a character of the text." },
    { 1114, "The start of a library failed." },
    { 1117, "A device reported a fault; the request could not be carried out." },
    { 1131, "Waiting here would never end: two or more wait for one another." },
    { 1132, "The start address or the position does not have the necessary alignment." },
    { 1142, "No further links can be made to this file." },
    { 1157, "A library that is needed to run this application was not found." },
    { 1168, "The element was not found." },
    { 1223, "The user cancelled the operation." },
    { 1224, "The file has a part that is mapped into memory, so that this cannot be done to it." },
    { 1237, "The operation did not succeed; trying again may help." },
    { 1300, "The caller does not have all of the privileges that were named." },
    { 1313, "There is no privilege of that name." },
    { 1314, "The caller lacks a privilege that this operation needs." },
    { 1338, "The security descriptor is not whole, or does not carry its parts in itself." },
    { 1393, "The structure on the disk is damaged and cannot be read." },
    { 1400, "The window handle is not valid." },
    { 1401, "The menu handle is not valid." },
    { 1413, "The index is not valid." },
    { 1444, "There is no thread of that number, or it takes no messages." },
    { 1450, "The system's resources do not suffice for this operation." },
    { 1456, "There is no such menu item." },
    { 1460, "The operation was given up because its time is over." },
    { 1816, "The quota does not suffice for this operation." },
    { 1920, "The system cannot access the file." },
    { 0x80004001, "Not implemented." },
    { 0x80004002, "The object does not have this interface." },
    { 0x80004003, "A pointer is not valid." },
    { 0x80004005, "An error occurred that is not specified further." },
    { 0x8000FFFF, "An unexpected failure occurred." },
};

constexpr bool IsBefore( const ErrorText& rLeft, const ErrorText& rRight )
{
    return rLeft.dwErrCode < rRight.dwErrCode;
}
static_assert( std::is_sorted( std::begin( g_aTexts ), std::end( g_aTexts ), IsBefore ) );

// Failures of facility 7 carry an error number in their low half.
constexpr DWORD WIN32_FAILURE = 0x80070000;
} // namespace

std::string_view FindErrorText( DWORD dwErrCode ) noexcept
{
    if ( ( dwErrCode & 0xFFFF0000 ) == WIN32_FAILURE )
        dwErrCode &= 0xFFFF;
    const ErrorText* const pFound = std::lower_bound( std::begin( g_aTexts ), std::end( g_aTexts ),
                                                      ErrorText{ dwErrCode, {} }, IsBefore );
    if ( pFound == std::end( g_aTexts ) || pFound->dwErrCode != dwErrCode )
        return {};
    return pFound->aText;
}

bool HasInserts( std::string_view aText ) noexcept
{
    return aText.find( '%' ) != std::string_view::npos;
}
