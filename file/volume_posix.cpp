#include "file/volume.h"
#include "platform/file/fileattempt.h"
#include "platform/file/filecallscope.h"
#include "platform/file/fileobject.h"
#include "platform/file/filepath.h"
#include "platform/object/handletable.h"

// Names are what they are, in every letter.
void AdaptToVolume( MString& ) {}

bool IsPathOf( LPCTSTR pPath, HANDLE hFile )
{
    const FileCallScope aScope;
    const HandleUse aUse( hFile, KIND_FILE, 0 );
    FilePath aPath;
    struct stat aOfPath;
    struct stat aOfFile;
    return aUse.IsGood() && aPath.Set( pPath ) && stat( aPath.Text(), &aOfPath ) == 0 &&
           fstat( aUse.GetObject<FileObject>()->GetData(), &aOfFile ) == 0 && IsSameFile( aOfPath, aOfFile );
}
