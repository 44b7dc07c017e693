#include "nls/country.h"

void UseLocale( const char* ) {}
