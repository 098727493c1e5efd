#include "workstation/ui/TextTable.h"

namespace workstation {
namespace {

// Sorted by number and part. The English table holds the same numbers with the same parameters.
constexpr LanguageText kGerman[] = {
    {kTextTeilbilderNotLocked, 0,
     "Diese Teilbilder konnten nicht gesperrt werden. Sie sind anderweitig in Bearbeitung und können nur gelesen "
     "werden:\n%1"},
    {kTextButtonOk, 0, "[O]K"},
    {kTextButtonCancel, 0, "[A]bbrechen"},
    {kTextButtonAbort, 0, "[B]eenden"},
    {kTextButtonRetry, 0, "[W]iederholen"},
    {kTextButtonIgnore, 0, "[I]gnorieren"},
    {kTextButtonYes, 0, "[J]a"},
    {kTextButtonNo, 0, "[N]ein"},
    {kTextButtonHelp, 0, "[H]ilfe"},
    {kTextAnswered, 0, "Antwort: %1"},
    {kTextNotUnderstood, 0, "Bitte mit einem der Buchstaben in Klammern antworten."},
    {kTextNobodyToAsk, 0, "Es ist kein Terminal für die Frage vorhanden. Antwort: %1"},
    {kTextAnsweredTooOften, 0, "Dieselbe Frage wurde mehrfach gestellt. Antwort: %1"},

    {100460, 0, "OK"},
    {100461, 0, "Abbrechen"},

    // Anmeldung an einem Workgroup-Server.
    {1500379, 6, "Benutzername"},
    {1500379, 7, "Kennwort"},
    {1500388, 1, "Anmelden am Server"},
    {1500388, 2, "Benutzername speichern"},
    {1500388, 3, "Kennwort speichern"},
    {1500389, 1, "Der Server hat den Benutzernamen nicht akzeptiert."},
    {1500389, 2, "Der Server hat das Kennwort nicht akzeptiert."},

    {1500431, 0,
     "Projekte auf Workgroup-Servern werden in einer künftigen Version nicht mehr unterstützt. Übertragen Sie Ihre "
     "Projekte rechtzeitig in die Cloud."},
    {1500454, 0, "Diese Datei ist bereits vorhanden. Möchten Sie sie ersetzen?"},
    {1500493, 0, "Das Team der Standardressourcen wurde nicht gefunden (Fehler %1).\n%2"},

    // Was gerade übertragen wird. Auf Texte ohne Punkt folgt der Ort oder die Größe.
    {1500506, 0, "Projekt wird heruntergeladen von"},
    {1500507, 0, "Datei wird heruntergeladen von"},
    {1500508, 0, "%1 Dateien werden heruntergeladen von"},
    {1500509, 0, "Projekt wird aktualisiert in"},
    {1500510, 0, "Datei des Projekts wird aktualisiert in"},
    {1500511, 0, "Dateien des Projekts werden aktualisiert in"},
    {1500512, 0, "Datei %1 von %2"},
    {1500513, 0, "\"%1\" wird heruntergeladen"},
    {1500514, 0, "\"%1\" wird hochgeladen"},
    {1500517, 0, "Dateien: %1"},
    {1500548, 0, "Teilbilder und Pläne werden heruntergeladen"},

    // Standardressourcen. Der erste Parameter ist der Status; Namen und Pfade stehen in eigenen Zeilen.
    {1500647, 0, "Es konnte nicht festgestellt werden, ob die Standardressourcen gesperrt sind (Fehler %1).\n%2"},
    {1500648, 0, "Die Standardressourcen konnten nicht heruntergeladen werden (Fehler %1).\n%2"},
    {1500654, 0, "Die Standardressourcen konnten nicht angelegt werden (Fehler %1).\n%2"},
    {1500655, 0, "Die Standardressourcen konnten nicht gelöscht werden (Fehler %1).\n%2"},
    {1500657, 0, "Die Standardressourcen konnten nicht gesperrt werden (Fehler %1).\n%2"},
    {1500658, 0, "Die Sperre der Standardressourcen konnte nicht aufgehoben werden (Fehler %1)."},
    {1500659, 0, "Die Standardressourcen konnten nicht hochgeladen werden (Fehler %1).\n%2"},
    {1500660, 0, "Die Standardressourcen konnten nicht kopiert werden (Fehler %1).\n%2\n%3"},
    {1500661, 0, "Die Liste der Standardressourcen konnte nicht gelesen werden (Fehler %1)."},
    {1500662, 0, "Die Standardressourcen konnten nicht abonniert werden (Fehler %1).\n%2"},
    {1500663, 0, "Das Abonnement der Standardressourcen konnte nicht beendet werden (Fehler %1)."},

    {1500772, 0,
     "Das Projekt wurde zuletzt mit einer Version gespeichert, die für dieses Programm zu alt ist. Konvertieren Sie "
     "das "
     "Projekt zuerst mit einer Version, die dazwischen liegt."},
    {1500773, 0,
     "Das Projekt wurde zuletzt mit einer neueren Version als dieser gespeichert. Öffnen Sie das Projekt mit der "
     "neueren "
     "Version."},
    {1501623, 0, "Server"},
    {1501646, 0, "Fehler"},
    {1502500, 0, "Die Datei ist nicht für Sie gesperrt. Sie kann nicht hochgeladen werden."},
    {1502674, 0, "Dateien konnten nicht zum oder vom Server übertragen werden."},
    {1502913, 0, "Dateiinformationen werden vom Server gelesen"},
    {1800533, 0, "Diese Meldung nicht mehr anzeigen"},
    {2500124, 0, "Nicht hochgeladene Dateien, Projekt"},
    {2500481, 0, "Bitte warten. Die Dateien des Projekts werden geprüft"},
    {2500482, 0, "Packen"},
    {2500483, 0, "Entpacken"},
    {2500484, 0, "Dateien"},
    {2500485, 0, "Das Archiv enthält eine Verknüpfung zum Projekt eines anderen Benutzers:"},
    {2500486, 0, "Zwei der Dateien haben denselben Namen. Sie können nicht in ein Archiv."},
    {3201973, 0, "Möchten Sie es erneut versuchen?"},
};

}  // namespace

std::span<const LanguageText> germanTexts() {
  return kGerman;
}

}  // namespace workstation
