// A key whose block is good: its parts, and what is found in it by name.
#include "platform/registry/regimage.h"
#include "platform/registry/regname.h"

namespace
{
// The entry of a name: by slots where there are any, else one after the other.
//   IsIt  whether the entry with this index has the name; asked only where the hash fits.
// Result: the index, or the number of entries.
template <class Entry, class Predicate>
size_t FindEntry( const Entry* pEntries, size_t nEntries, const RegSlot* pSlots, size_t nSlots, DWORD dwHash,
                  Predicate IsIt )
{
    if ( nSlots == 0 )
    {
        for ( size_t i = 0; i < nEntries; ++i )
        {
            if ( pEntries[i].dwHash == dwHash && IsIt( i ) )
                return i;
        }
        return nEntries;
    }
    for ( size_t nSlot = dwHash & ( nSlots - 1 ); pSlots[nSlot] != 0; nSlot = ( nSlot + 1 ) & ( nSlots - 1 ) )
    {
        const size_t i = pSlots[nSlot] - 1;
        if ( pEntries[i].dwHash == dwHash && IsIt( i ) )
            return i;
    }
    return nEntries;
}
} // namespace

const RegChildEntry* RegKeyView::GetChildEntries() const noexcept
{
    return reinterpret_cast<const RegChildEntry*>( m_pHead + 1 );
}

const RegValueEntry* RegKeyView::GetValueEntries() const noexcept
{
    return reinterpret_cast<const RegValueEntry*>( GetChildEntries() + m_pHead->dwChildren );
}

const RegSlot* RegKeyView::GetChildSlots() const noexcept
{
    return reinterpret_cast<const RegSlot*>( GetValueEntries() + m_pHead->dwValues );
}

const char* RegKeyView::GetCharacters() const noexcept
{
    return reinterpret_cast<const char*>( GetChildSlots() + m_pHead->dwChildSlots + m_pHead->dwValueSlots );
}

std::string_view RegKeyView::GetName() const noexcept
{
    return { GetCharacters(), m_pHead->dwNameSize };
}

std::string_view RegKeyView::GetClassName() const noexcept
{
    return { GetCharacters() + m_pHead->dwNameSize, m_pHead->dwClassSize };
}

std::string_view RegKeyView::GetSecurity() const noexcept
{
    return { GetCharacters() + m_pHead->dwNameSize + m_pHead->dwClassSize, m_pHead->dwSecuritySize };
}

std::string_view RegKeyView::GetValueName( size_t nIndex ) const noexcept
{
    const RegValueEntry& rEntry = GetValueEntries()[nIndex];
    return { GetCharacters() + rEntry.dwNameOffset, rEntry.dwNameSize };
}

LONG RegKeyView::GetChild( size_t nIndex, RegKeyView& rChild ) const noexcept
{
    if ( nIndex >= m_pHead->dwChildren )
        return ERROR_FILE_NOT_FOUND;
    const RegChildEntry& rEntry = GetChildEntries()[nIndex];
    return m_pImage->ViewKey( GetBytes() + rEntry.ullOffset, rEntry.ullSize, rChild );
}

LONG RegKeyView::FindChild( std::string_view aName, RegKeyView& rChild ) const noexcept
{
    LONG lError = ERROR_SUCCESS;
    RegKeyView aChild;
    const size_t nFound = FindEntry(
        GetChildEntries(), m_pHead->dwChildren, GetChildSlots(), m_pHead->dwChildSlots, HashRegName( aName ),
        [&]( size_t nIndex )
        {
            lError = GetChild( nIndex, aChild );
            return lError != ERROR_SUCCESS || IsSameRegName( aChild.GetName(), aName );
        } );
    if ( nFound == m_pHead->dwChildren )
        return ERROR_FILE_NOT_FOUND;
    if ( lError == ERROR_SUCCESS )
        rChild = aChild;
    return lError;
}

LONG RegKeyView::FindPath( std::string_view aPath, RegKeyView& rKey ) const noexcept
{
    RegKeyView aKey = *this;
    std::string_view aName;
    while ( TakeRegName( aPath, aName ) )
    {
        if ( const LONG lError = aKey.FindChild( aName, aKey ) )
            return lError;
    }
    rKey = aKey;
    return ERROR_SUCCESS;
}

LONG RegKeyView::GetValue( size_t nIndex, RegValueView& rValue ) const noexcept
{
    if ( nIndex >= m_pHead->dwValues )
        return ERROR_FILE_NOT_FOUND;
    const RegValueEntry& rEntry = GetValueEntries()[nIndex];
    const BYTE* const pData = GetBytes() + rEntry.ullOffset;
    if ( !m_pImage->IsDataGood( pData, rEntry ) )
        return ERROR_REGISTRY_CORRUPT;
    rValue = { GetValueName( nIndex ), rEntry.dwType, rEntry.dwSize, pData, &rEntry };
    return ERROR_SUCCESS;
}

LONG RegKeyView::FindValue( std::string_view aName, RegValueView& rValue ) const noexcept
{
    const size_t nFound =
        FindEntry( GetValueEntries(), m_pHead->dwValues, GetChildSlots() + m_pHead->dwChildSlots,
                   m_pHead->dwValueSlots, HashRegName( aName ),
                   [&]( size_t nIndex ) { return IsSameRegName( GetValueName( nIndex ), aName ); } );
    return GetValue( nFound, rValue );
}
