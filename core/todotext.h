// Texts with a remark behind them: "text -> !!!!!!!!!!! ... !!!!!!!!!!!".
#pragma once

#include <bxtools/baseobject.h>

#include <memory>

// pText with " -> " and pRemark behind it, cut to its length modulo 65,536; null when there is no memory.
//   pText  NULL stands for an empty text.
std::unique_ptr<char[]> TextWithRemark( LPCTSTR pText, LPCTSTR pRemark ) noexcept;

// Sends pText to pHook with the remark that the function needs coding. Nothing is sent without a hook or without
// memory.
void SendToDoText( MYDBGFUNC pHook, LPCTSTR pHeader, LPCTSTR pText ) noexcept;
