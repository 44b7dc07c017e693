#include "support/answereddialogs.h"
#include "support/shown.h"

std::string ShownBy( const std::function<void()>& aBody )
{
    AnsweredDialogs aDialogs( IDOK );
    aBody();
    return aDialogs.TakeTexts();
}
