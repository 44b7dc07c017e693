// Shows on a terminal how far a long piece of work is; where standard error is none, it shows nothing.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

class ProgressBar
{
public:
    // aWhat names what is counted: "texts".
    ProgressBar( const std::string& aWhat, size_t nTotal );
    // Takes the bar away again.
    ~ProgressBar();
    ProgressBar( const ProgressBar& ) = delete;
    ProgressBar& operator=( const ProgressBar& ) = delete;

    void Show( size_t nDone );

private:
    const std::string m_aWhat;
    const size_t m_nTotal;
    const size_t m_nColumns;
    std::chrono::steady_clock::time_point m_aNext;
    bool m_fShown = false;
};
