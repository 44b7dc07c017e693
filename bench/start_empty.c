/* The program of the start measurements: it does nothing, and is linked in turn with nothing but the C library, with
   the C++ library, with GLib and with the tool library. */
int main( void )
{
    return 7;
}
