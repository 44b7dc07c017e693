// What holds for the text of a profile file whatever bytes it has.
#pragma once

#include "platform/profile/iniedit.h"
#include "platform/profile/inifold.h"
#include "platform/profile/iniindex.h"
#include "platform/profile/iniscan.h"

// The index finds what the search from the front finds, and nothing else is listed.
inline bool IniIndexAgrees( std::string_view aText )
{
    const IniIndex aIndex( aText );
    IniScanner aLines( aText );
    IniSection aHeader = aLines.FirstSection();
    IniKey aKey;
    size_t nLine = aHeader.nBody;
    int nSections = 0;
    for ( IniSection aSection = aHeader; nLine < aText.size() && nSections < 20; nLine = aKey.aLine.nNext )
    {
        const IniLineKind eKind = aLines.ReadLine( nLine, aKey, aHeader );
        if ( eKind == IniLineKind::Header )
        {
            aSection = aHeader;
            ++nSections;
        }
        IniScanner aSearch( aText );
        IniSection aFirst;
        size_t nBody = 0;
        if ( !aSearch.FindSection( aSection.aName, aFirst ) || !aIndex.FindSection( aSection.aName, nBody ) ||
             nBody != aFirst.nBody )
            return false;
        if ( eKind != IniLineKind::Key )
            continue;
        IniKey aFound;
        std::string_view aValue;
        const bool fFound = aSearch.FindKey( aFirst, aKey.aName, aFound );
        if ( fFound != aIndex.FindValue( aSection.aName, aKey.aName, aValue ) ||
             ( fFound && aValue != aFound.aValue ) )
            return false;
        if ( !fFound && aFirst.nBody == aSection.nBody )
            return false;
    }
    return true;
}

inline std::string ApplyIniEdit( std::string_view aText, const IniEdit& rEdit )
{
    return std::string( aText.substr( 0, rEdit.nAt ) ) + rEdit.strInserted +
           std::string( aText.substr( rEdit.nAt + rEdit.nRemoved ) );
}

// A key that is set reads back as it was set; setting it again changes nothing; what lies outside its line stays; a key that
// is deleted as often as it is there is gone. The names and the value are clean ones: not empty, no blanks at their ends, no
// line end, bracket or equals sign.
inline bool IniEditsHold( std::string_view aText, std::string_view aSection, std::string_view aKey,
                          std::string_view aValue )
{
    IniChange aChange = { aSection, aKey, aValue, IniChange::Kind::SetKey };
    const IniEdit aEdit = EditIni( aText, aChange );
    if ( aEdit.nAt + aEdit.nRemoved > aText.size() ||
         aText.substr( aEdit.nAt, aEdit.nRemoved ).find_first_of( "\r\n" ) != aText.npos )
        return false;
    std::string strNew = ApplyIniEdit( aText, aEdit );
    std::string_view aStored;
    if ( !IniIndex( strNew ).FindValue( aSection, aKey, aStored ) || aStored != aValue )
        return false;
    if ( !EditIni( strNew, aChange ).IsNothing() )
        return false;
    aChange.eKind = IniChange::Kind::DeleteKey;
    for ( IniEdit aDelete = EditIni( strNew, aChange ); !aDelete.IsNothing();
          aDelete = EditIni( strNew, aChange ) )
        strNew = ApplyIniEdit( strNew, aDelete );
    return !IniIndex( strNew ).FindValue( aSection, aKey, aStored );
}
