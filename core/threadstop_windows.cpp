#include "core/threadstop.h"

void DeferThreadStop() noexcept {}

void AllowThreadStop() noexcept {}
