// The windows' events, for a thread that waits for something else.
#include "ui/qtoperations.h"

#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>
#include <algorithm>
#include <fcntl.h>
#include <memory>
#include <unistd.h>
#include <vector>

namespace
{

// Wakes the event loop when a descriptor is readable. A duplicate, because an event may wait for the same one.
class Waker
{
public:
    explicit Waker( int nDescriptor )
        : m_nDuplicate( fcntl( nDescriptor, F_DUPFD_CLOEXEC, 0 ) ),
          m_pNotifier( m_nDuplicate >= 0 ? new QSocketNotifier( m_nDuplicate, QSocketNotifier::Read )
                                         : nullptr )
    {
    }
    ~Waker()
    {
        m_pNotifier.reset();
        if ( m_nDuplicate >= 0 )
            close( m_nDuplicate );
    }
    Waker( const Waker& ) = delete;
    Waker& operator=( const Waker& ) = delete;

    bool IsGood() const { return m_pNotifier != nullptr; }

private:
    int m_nDuplicate;
    std::unique_ptr<QSocketNotifier> m_pNotifier;
};

} // namespace

DWORD RunQtEvents( const int* pDescriptors, UINT uCount, DWORD dwMilliseconds )
{
    return InWindowThread(
        [&]() -> DWORD
        {
            std::vector<std::unique_ptr<Waker>> aWakers;
            for ( UINT i = 0; i < uCount; ++i )
            {
                aWakers.push_back( std::make_unique<Waker>( pDescriptors[i] ) );
                if ( !aWakers.back()->IsGood() )
                    return ERROR_TOO_MANY_OPEN_FILES;
            }
            QTimer aTimer;
            if ( dwMilliseconds != INFINITE )
                aTimer.start( static_cast<int>( std::min<DWORD>( dwMilliseconds, 0x7FFFFFFF ) ) );
            QEventLoop().processEvents( QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents );
            return ERROR_SUCCESS;
        } );
}
