// The typed lists know how to destroy their elements; here the elements' types are complete.
#include "core/buffserver.h"
#include "core/threadregistry.h"
#include "error/errserver.h"

#include <bxtools/errobject.h>
#include <bxtools/lists.h>
#include <bxtools/mstring.h>
#include <bxtools/nlsserver.h>

void DestroyListElement( MString* pElement )
{
    delete pElement;
}

void DestroyListElement( ErrObjectBase* pElement )
{
    delete pElement;
}

void DestroyListElement( ERRServer* pElement )
{
    delete pElement;
}

void DestroyListElement( internalBufferObj* pElement )
{
    delete pElement;
}

void DestroyListElement( CThreadGlobalObjectElemInterface* pElement )
{
    delete pElement;
}

void DestroyListElement( MyErrNlsInterFaceConfig* pElement )
{
    delete pElement;
}

void DestroyListElement( long* pElement )
{
    delete pElement;
}

void DestroyListElement( HMODULE* pElement )
{
    delete pElement;
}
