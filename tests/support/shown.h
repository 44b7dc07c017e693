// What the user is shown in message boxes, which nobody has to close.
#pragma once

#include <functional>
#include <string>

// Runs aBody. Result: title and text of each box that came meanwhile, a line for each.
std::string ShownBy( const std::function<void()>& aBody );
