// German strings of the library: why a connection to a server failed, and the box that says so.
#include "platform/Messages.h"

extern "C" __attribute__((visibility("default"))) const platform::ResourceString zephorResourceStrings[] = {
    {1000, "Es wurde kein Servername angegeben."},
    {1001, "Der Name des Servers konnte nicht aufgelöst werden."},
    {1002, "Die Auflösung des Servernamens hat zu lange gedauert."},
    {1003, "Der Verbindungsaufbau wurde abgebrochen."},
    {1004, "Beim Verbindungsaufbau ist ein interner Fehler aufgetreten."},
    {1005, "Der Server hat nicht rechtzeitig geantwortet."},
    {1006, "Der Server hat die Verbindung abgelehnt oder ist nicht erreichbar."},
    {1007, "Die sichere Verbindung konnte auf diesem Arbeitsplatz nicht vorbereitet werden."},
    {1008, "Die Zertifikate dieses Arbeitsplatzes konnten nicht gelesen werden."},
    {1009, "Die sichere Verbindung konnte nicht begonnen werden."},
    {1010, "Die sichere Verbindung konnte mit dem Server nicht vereinbart werden."},
    {1011, "Der Server hat kein Zertifikat gesendet."},
    {1012, "Das Zertifikat des Servers konnte nicht geprüft werden."},
    {1013, "Die sichere Verbindung wurde vor ihrem Aufbau geschlossen."},
    {1014, "Der Server wurde erreicht, hat sich aber nicht gemeldet."},
    {1015, "Der Server hat die Sicherung der Verbindung abgelehnt."},
    {1016, "Die Verbindung ist nicht möglich."},
    {1017, "Der Server nimmt zurzeit keine weitere Verbindung an."},
    {1018, "Die Anmeldung wurde abgelehnt. Prüfen Sie Benutzername und Kennwort."},
    {1019, "Verbindung zum Server %s"},
    {1020, "Möchten Sie es erneut versuchen?"},
    {0, nullptr},
};
