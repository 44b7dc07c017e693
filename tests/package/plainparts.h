/* The parts of a program in plain C. Each meets <windows.h> in another way. */
#pragma once

/* Result: 0 when the error about a missing file was not recorded. Its source has <windows.h> before the library's headers. */
int RecordError( void );

/* The thread's errors. Its source has <windows.h> after the library's headers. */
unsigned CountErrors( void );
