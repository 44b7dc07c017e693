// What counts as the text of a window.
#pragma once

#include "ui/qthandles.h"

#include <QString>

QString ReadTextOf( const QtPlace& rPlace );
void ChangeTextOf( const QtPlace& rPlace, const QString& rText );
