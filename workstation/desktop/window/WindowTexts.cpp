#include "workstation/desktop/window/WindowTexts.h"

#include <array>

#include "workstation/ui/HostInterface.h"

namespace workstation {
namespace {

struct Words {
  const char* english;
  const char* german;
};

constexpr std::size_t kTextCount = static_cast<std::size_t>(WindowText::Count);

/// In the order of WindowText.
constexpr std::array<Words, kTextCount> kTexts{{
    {"Zephor", "Zephor"},
    {"Object", "Objekt"},
    {"Name", "Name"},
    {"State", "Zustand"},
    {"Locked by", "Gesperrt von"},
    {"Here", "Hier"},
    {"Store", "Ablage"},
    {"Reason", "Grund"},
    {"you (%1)", "Ihnen (%1)"},
    {"&Lock", "S&perren"},
    {"&Unlock", "&Freigeben"},
    {"&Save", "&Speichern"},
    {"Fe&tch", "&Holen"},
    {"S&ync", "&Abgleichen"},
    {"Send a&gain", "&Erneut senden"},
    {"&Background log", "Hinter&grundprotokoll"},
    {"&Open folder", "&Ordner öffnen"},
    {"&Refresh", "Aktualisie&ren"},
    {"&Interrupt", "&Unterbrechen"},
    {"Lock what is selected, so that nobody else changes it", "Die Auswahl sperren, damit niemand sonst sie ändert"},
    {"Give your locks of what is selected back", "Ihre Sperren der Auswahl zurückgeben"},
    {"Send what is selected to the store", "Die Auswahl in die Ablage speichern"},
    {"Bring what the store has newer of what is selected", "Holen, was von der Auswahl in der Ablage neuer ist"},
    {"Bring the whole project here and in the store in step", "Das ganze Projekt hier und in der Ablage abgleichen"},
    {"Send again what could not be sent", "Noch einmal senden, was nicht gesendet werden konnte"},
    {"Show what was sent and deleted in the background", "Zeigen, was im Hintergrund gesendet und gelöscht wurde"},
    {"Open the project's folder on this workstation", "Den Ordner des Projekts auf diesem Arbeitsplatz öffnen"},
    {"Read the state again", "Den Zustand neu lesen"},
    {"Interrupt what runs; nothing is left half-done", "Den laufenden Befehl unterbrechen; nichts bleibt halb getan"},
    {"&Filter:", "Fi&lter:"},
    {"object, name, state or person", "Objekt, Name, Zustand oder Person"},
    {"Objects of the project", "Objekte des Projekts"},
    {"What the commands said", "Was die Befehle gemeldet haben"},
    {"Working", "In Arbeit"},
    {"Reading the state …", "Der Zustand wird gelesen …"},
    {"%1: as soon as the state has been read …", "%1: sobald der Zustand gelesen ist …"},
    {"%1 …", "%1 …"},
    {"Interrupting …", "Wird unterbrochen …"},
    {"%1: done", "%1: erledigt"},
    {"%1: failed", "%1: fehlgeschlagen"},
    {"%1: the program refused its arguments", "%1: Das Programm hat die Angaben abgelehnt"},
    {"%1: partly done; the log tells what stayed", "%1: teilweise erledigt; das Protokoll sagt, was blieb"},
    {"%1: locked by someone else", "%1: von jemand anderem gesperrt"},
    {"%1: not logged in", "%1: nicht angemeldet"},
    {"%1: interrupted", "%1: unterbrochen"},
    {"%1: ended in an unexpected way (%2)", "%1: unerwartet beendet (%2)"},
    {"%1: could not be started: %2", "%1: konnte nicht gestartet werden: %2"},
    {"%1: not begun, as the state can't be read or another project is open now",
     "%1: nicht begonnen, weil der Zustand nicht zu lesen ist oder jetzt ein anderes Projekt offen ist"},
    {"%1 objects, %2 shown, %3 selected", "%1 Objekte, %2 angezeigt, %3 ausgewählt"},
    {"The project has no objects yet. zephor import makes them of files.",
     "Das Projekt hat noch keine Objekte. zephor import macht sie aus Dateien."},
    {"The state can't be read: %1", "Der Zustand kann nicht gelesen werden: %1"},
    {"Below is the state of %1.", "Darunter steht der Stand von %1."},
    {"The program's answer can't be understood: %1", "Die Antwort des Programms ist nicht zu verstehen: %1"},
    {"The folder could not be opened: %1", "Der Ordner konnte nicht geöffnet werden: %1"},
    {"A command is running", "Ein Befehl läuft"},
    {"%1 has not ended yet. What should happen?", "%1 ist noch nicht fertig. Was soll geschehen?"},
    {"&Close when it is done", "&Schließen, sobald er fertig ist"},
    {"&Interrupt it and close", "&Unterbrechen und schließen"},
    {"&Keep the window", "&Fenster behalten"},
    {"dry run: nothing is changed", "Probelauf: Nichts wird geändert"},
}};
static_assert(kTexts.back().german != nullptr, "a text is missing");

constexpr std::size_t kStateCount = static_cast<std::size_t>(RowState::InStep) + 1;

/// In the order of RowState; the program's own where there is none.
constexpr std::array<Words, kStateCount> kStates{{
    {"damaged here", "hier beschädigt"},
    {"changed on both sides", "auf beiden Seiten geändert"},
    {"older in the store", "in der Ablage älter"},
    {"not sent", "nicht gesendet"},
    {"changed here", "hier geändert"},
    {"only here", "nur hier"},
    {"newer in the store", "in der Ablage neuer"},
    {"only in the store", "nur in der Ablage"},
    {"removed from the store", "aus der Ablage entfernt"},
    {"removed here", "hier entfernt"},
    {nullptr, nullptr},
    {"in step", "abgeglichen"},
}};

constexpr std::array<Words, kStateCount> kReasons{{
    {nullptr, "die Datei hier ist beschädigt; zephor fetch --force ersetzt sie, nach einer Kopie"},
    {"changed here and in the store, or an old version was put back here; zephor fetch --force or save --force takes "
     "one, and a copy of the other stays in the project's backup directory",
     "hier und in der Ablage geändert, oder hier wurde ein alter Stand zurückgelegt; zephor fetch --force oder save "
     "--force nimmt einen, und eine Kopie des anderen bleibt im Sicherungsordner des Projekts"},
    {nullptr,
     "die Ablage hat einen älteren Stand, als hier schon gesehen wurde; wurde sie aus einer Sicherung "
     "wiederhergestellt? zephor save --force sendet den von hier, zephor fetch --force holt den der Ablage"},
    {"could not be sent; it is tried again with Send again",
     "konnte nicht gesendet werden; Erneut senden versucht es noch einmal"},
    {nullptr, "seit dem letzten Abgleich geändert; speichern Sie es"},
    {nullptr, "noch nie in die Ablage gespeichert"},
    {nullptr, "jemand hat einen neueren Stand gespeichert; holen Sie ihn"},
    {nullptr, "noch nicht geholt"},
    {nullptr, "jemand hat es aus der Ablage entfernt"},
    {nullptr, "hier entfernt, in der Ablage noch vorhanden"},
    {nullptr, nullptr},
    {nullptr, "gleicher Stand hier und in der Ablage"},
}};

QString inLanguage(const Words& words, const std::string& otherwise) {
  const char* const text = language() == "de" ? words.german : words.english;
  return text != nullptr ? QString::fromUtf8(text) : QString::fromStdString(otherwise);
}

}  // namespace

QString windowText(WindowText text) {
  return inLanguage(kTexts[static_cast<std::size_t>(text)], {});
}

QString stateText(const StatusRow& row) {
  return inLanguage(kStates[static_cast<std::size_t>(row.state)], row.stateText);
}

QString reasonText(const StatusRow& row) {
  return inLanguage(kReasons[static_cast<std::size_t>(row.state)], row.reason);
}

}  // namespace workstation
