// What the test and its display library tell each other: the parent window's handle is the address of this.
#pragma once

#include <bxtools/error.h>

#include <string>

struct DisplayCall
{
    BOOL fResult = TRUE;
    BOOL fModeless = FALSE;
    std::string strStream;
};
