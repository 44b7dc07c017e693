// The parts of a program that has the library from the package alone. Each part meets <windows.h> in another way;
// all of them must see the same classes, or they do not link.
#pragma once

class MString;

// The text of an error stream with one record, about a file that is not there. Its source has <windows.h> of its own,
// before the library's headers.
bool MakeStream( MString& rStream );

// The record's class and system error, "class/2". Its source has <windows.h> after the library's headers.
bool ReadStream( const MString& rStream, MString& rText );
