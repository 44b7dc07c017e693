// What was reported while a test ran. A failing call sends exactly one report, a successful one none:
//
//     DebugRecorder aRecorder;
//     EXPECT_EQ( NULL, MyTCHARFactory( 0xFFFFFFFF ) );
//     EXPECT_TRUE( aRecorder.OnlyReport( "From ... MyTCHARFactory( ULONG ulSize )", " Error: ..." ) );
//
// A check takes what it has looked at, so that the next one sees only what came after. What is left when the recorder
// goes is a failure of the test: nobody expected it.
#pragma once

#include <bxtools/baseobject.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

// Header and message.
using Report = std::pair<std::string, std::string>;

// All texts that reach the debug output of this process, from all threads.
class DebugRecorder
{
public:
    // Forgets what came before.
    DebugRecorder();
    ~DebugRecorder();
    DebugRecorder( const DebugRecorder& ) = delete;
    DebugRecorder& operator=( const DebugRecorder& ) = delete;

    // What the library itself reported: header and message of DebugMessage under the module "BXTOOLS.DLL".
    ::testing::AssertionResult Silent() { return OnlyReports( {} ); }
    ::testing::AssertionResult OnlyReport( const std::string& strHeader, const std::string& strText )
    {
        return OnlyReports( { { strHeader, strText } } );
    }
    ::testing::AssertionResult OnlyReports( const std::vector<Report>& aExpected );

    // The output to the letter, since the recorder was made or last looked at.
    std::string Take();
};

// Calls of two hooks that a test gives to objects. One instance at a time; the hooks allocate with malloc alone, so
// that they work while operator new fails.
class HookRecorder
{
public:
    HookRecorder();
    ~HookRecorder() { EXPECT_TRUE( Silent() ); }
    HookRecorder( const HookRecorder& ) = delete;
    HookRecorder& operator=( const HookRecorder& ) = delete;

    // The hooks to be given.
    static void DLL_EXPORT Debug( LPCTSTR pHeader, LPCTSTR pMessage );
    static int DLL_EXPORT Log( LPCTSTR pFormat, LPCTSTR pFirstText, LPCTSTR pSecondText );

    // Neither hook was called; or only the debug hook was, so.
    ::testing::AssertionResult Silent() { return OnlyReports( {} ); }
    ::testing::AssertionResult OnlyReport( const std::string& strHeader, const std::string& strText )
    {
        return OnlyReports( { { strHeader, strText } } );
    }
    ::testing::AssertionResult OnlyReports( const std::vector<Report>& aExpected );

    // The calls of each hook; a NULL text is shown as "(null)". The three texts of a log call
    // stand in one, divided by '|'.
    std::vector<Report> TakeReports();
    std::vector<std::string> TakeLogLines();
};
