// An object of the calling thread's that has been asked for before, beside a pointer kept with GPrivate.
#include "doors.h"
#include "measure.h"

#include <glib.h>

void RegisterThreadMeasurements()
{
    const GetBUFFServerFunc pGetBUFFServer = BenchGetBUFFServer();
    Measure( "thread/hot/bxtools", "1\n",
             [pGetBUFFServer]( auto& rUse ) { rUse( pGetBUFFServer() != NULL ); } );

    static GPrivate aPrivate = G_PRIVATE_INIT( NULL );
    static int nObject = 0;
    Measure( "thread/hot/GPrivate", "1\n",
             []( auto& rUse )
             {
                 gpointer pObject = g_private_get( &aPrivate );
                 if ( pObject == NULL )
                     g_private_set( &aPrivate, pObject = &nObject );
                 rUse( pObject != NULL );
             } );
}
