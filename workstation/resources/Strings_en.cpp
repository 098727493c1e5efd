// English strings of the library: why a connection to a server failed, and the box that says so.
#include "platform/Messages.h"

extern "C" __attribute__((visibility("default"))) const platform::ResourceString zephorResourceStrings[] = {
    {1000, "No server name was given."},
    {1001, "The name of the server could not be resolved."},
    {1002, "Resolving the name of the server took too long."},
    {1003, "The connection was cancelled."},
    {1004, "An internal error occurred while connecting."},
    {1005, "The server did not answer in time."},
    {1006, "The server refused the connection or could not be reached."},
    {1007, "The secure connection could not be prepared on this workstation."},
    {1008, "The certificates of this workstation could not be read."},
    {1009, "The secure connection could not be started."},
    {1010, "The secure connection could not be agreed on with the server."},
    {1011, "The server did not send a certificate."},
    {1012, "The certificate of the server could not be verified."},
    {1013, "The secure connection was closed before it was complete."},
    {1014, "The server was reached but did not send its greeting."},
    {1015, "The server refused to secure the connection."},
    {1016, "The connection is not possible."},
    {1017, "The server takes no further connection at the moment."},
    {1018, "The login was refused. Check the user name and the password."},
    {1019, "Connection to server %s"},
    {1020, "Do you want to try again?"},
    {0, nullptr},
};
