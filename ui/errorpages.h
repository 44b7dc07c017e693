// An error stream as a user reads it, in the calling thread's language.
#pragma once

#include <bxtools/errclient.h>
#include <bxtools/window_system.h>

#include <string_view>
#include <vector>

class ErrorPages
{
public:
    // Reads the stream; a text that is no error stream becomes one page. May throw for want of memory.
    explicit ErrorPages( LPCTSTR szErrStream );
    ErrorPages( const ErrorPages& ) = delete;
    ErrorPages& operator=( const ErrorPages& ) = delete;

    // The pages, valid as long as the object.
    const std::vector<WindowSystemError>& GetErrors() const { return m_aErrors; }

private:
    struct Page
    {
        MString aText;
        MString aDetails;
        MString aHelpFile;
        HELP_ID usHelpID = 0;
    };

    static Page ReadPage( std::string_view aRecord );

    std::vector<Page> m_aPages;
    std::vector<WindowSystemError> m_aErrors;
};

// What stands around them.
class ErrorLabels
{
public:
    ErrorLabels();
    ErrorLabels( const ErrorLabels& ) = delete;
    ErrorLabels& operator=( const ErrorLabels& ) = delete;

    WindowSystemErrorLabels Get() const;

private:
    MString m_aTitle;
    MString m_aPosition;
    MString m_aPrevious;
    MString m_aNext;
    MString m_aCopy;
    MString m_aClose;
    MString m_aDetails;
    MString m_aHelp;
};
