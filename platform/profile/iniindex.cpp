#include "platform/profile/iniindex.h"

#include "platform/profile/inifold.h"

#include <bit>

IniIndex::IniIndex( std::string_view aText ) : m_aText( aText )
{
    constexpr size_t USUAL_LINE = 48;
    constexpr size_t FEWEST_SLOTS = 16;
    const size_t nGuess = aText.size() / USUAL_LINE;
    m_aEntries.reserve( nGuess );
    m_aSlots.assign( std::bit_ceil( nGuess * 2 + FEWEST_SLOTS ), NONE );
    IniScanner aScanner( aText );
    AddKeys( aScanner );
}

// The first section and the first key of a name count; further sections of a name are passed over.
void IniIndex::AddKeys( IniScanner& rScanner )
{
    IniKey aKey;
    IniSection aHeader = rScanner.FirstSection();
    Add( NONE, {}, aHeader.nBody, 0 );
    Number nSection = 0;
    for ( size_t nLine = aHeader.nBody; nLine < m_aText.size(); nLine = aKey.aLine.nNext )
    {
        IniLineKind eKind = rScanner.ReadLine( nLine, aKey, aHeader );
        while ( eKind == IniLineKind::Header )
        {
            nSection = static_cast<Number>( m_aEntries.size() );
            aKey.aLine.nNext = aHeader.nBody;
            if ( Add( NONE, aHeader.aName, aHeader.nBody, 0 ) )
                break;
            if ( !rScanner.FindHeader( aHeader.nBody, aHeader ) )
                return;
        }
        if ( eKind == IniLineKind::Key )
            Add( nSection, aKey.aName, static_cast<size_t>( aKey.aValue.data() - m_aText.data() ),
                 aKey.aValue.size() );
    }
}

bool IniIndex::Add( Number nSection, std::string_view aName, size_t nPlace, size_t nLength )
{
    const uint64_t ullHash = HashOf( nSection, aName );
    const Place aPlace = Find( nSection, ullHash, aName );
    if ( aPlace.nEntry != NONE )
        return false;
    m_aSlots[aPlace.nSlot] = static_cast<Number>( m_aEntries.size() );
    m_aEntries.push_back( { nSection, static_cast<Number>( ullHash ),
                            static_cast<Number>( aName.empty() ? 0 : aName.data() - m_aText.data() ),
                            static_cast<Number>( aName.size() ), static_cast<Number>( nPlace ),
                            static_cast<Number>( nLength ) } );
    if ( m_aEntries.size() * 2 > m_aSlots.size() )
        Grow();
    return true;
}

void IniIndex::Grow()
{
    m_aSlots.assign( m_aSlots.size() * 2, NONE );
    const size_t nMask = m_aSlots.size() - 1;
    for ( size_t i = 0; i < m_aEntries.size(); ++i )
    {
        size_t nSlot = m_aEntries[i].nHash & nMask;
        while ( m_aSlots[nSlot] != NONE )
            nSlot = ( nSlot + 1 ) & nMask;
        m_aSlots[nSlot] = static_cast<Number>( i );
    }
}

IniIndex::Place IniIndex::Find( Number nSection, uint64_t ullHash, std::string_view aName ) const noexcept
{
    const Number nHash = static_cast<Number>( ullHash );
    const size_t nMask = m_aSlots.size() - 1;
    size_t nSlot = nHash & nMask;
    for ( ; m_aSlots[nSlot] != NONE; nSlot = ( nSlot + 1 ) & nMask )
    {
        const Entry& rEntry = m_aEntries[m_aSlots[nSlot]];
        if ( rEntry.nHash == nHash && rEntry.nSection == nSection &&
             EqualIniNames( NameOf( rEntry ), aName ) )
            return { nSlot, m_aSlots[nSlot] };
    }
    return { nSlot, NONE };
}

uint64_t IniIndex::HashOf( Number nSection, std::string_view aName ) noexcept
{
    return MixIniHash( HashIniName( aName ), nSection );
}

std::string_view IniIndex::NameOf( const Entry& rEntry ) const noexcept
{
    return { m_aText.data() + rEntry.nName, rEntry.nNameLength };
}

bool IniIndex::FindSection( std::string_view aSection, size_t& rnBody ) const noexcept
{
    const Number nEntry = Find( NONE, HashOf( NONE, aSection ), aSection ).nEntry;
    if ( nEntry != NONE )
        rnBody = m_aEntries[nEntry].nPlace;
    return nEntry != NONE;
}

bool IniIndex::FindValue( std::string_view aSection, std::string_view aKey,
                          std::string_view& rValue ) const noexcept
{
    const Number nSection = Find( NONE, HashOf( NONE, aSection ), aSection ).nEntry;
    if ( nSection == NONE )
        return false;
    const Number nKey = Find( nSection, HashOf( nSection, aKey ), aKey ).nEntry;
    if ( nKey == NONE )
        return false;
    rValue = { m_aText.data() + m_aEntries[nKey].nPlace, m_aEntries[nKey].nLength };
    return true;
}
