// The country that the system says it is in, as far as a test can choose it.
#pragma once

// On Linux the locale is set, which is removed with NULL; on Windows the user's stays.
void UseLocale( const char* pLocale );
