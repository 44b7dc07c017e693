// A limit of this process, for a scope.
#pragma once

#include <sys/resource.h>

class Limit
{
public:
    Limit( __rlimit_resource_t eResource, rlim_t nValue ) : m_eResource( eResource )
    {
        getrlimit( m_eResource, &m_aBefore );
        const rlimit aNow{ nValue, m_aBefore.rlim_max };
        setrlimit( m_eResource, &aNow );
    }
    ~Limit() { setrlimit( m_eResource, &m_aBefore ); }
    Limit( const Limit& ) = delete;
    Limit& operator=( const Limit& ) = delete;

private:
    __rlimit_resource_t m_eResource;
    rlimit m_aBefore{};
};
