#include "workstation/ui/TextTable.h"

namespace workstation {
namespace {

// Sorted by number and part. The German table holds the same numbers with the same parameters.
constexpr LanguageText kEnglish[] = {
    {kTextTeilbilderNotLocked, 0,
     "These drawing files could not be locked. They are in use by somebody else and can only be read:\n%1"},
    {kTextButtonOk, 0, "[O]K"},
    {kTextButtonCancel, 0, "[C]ancel"},
    {kTextButtonAbort, 0, "[A]bort"},
    {kTextButtonRetry, 0, "[R]etry"},
    {kTextButtonIgnore, 0, "[I]gnore"},
    {kTextButtonYes, 0, "[Y]es"},
    {kTextButtonNo, 0, "[N]o"},
    {kTextButtonHelp, 0, "[H]elp"},
    {kTextAnswered, 0, "Answered: %1"},
    {kTextNotUnderstood, 0, "Please answer with one of the letters in brackets."},
    {kTextNobodyToAsk, 0, "There is no terminal to ask on. Answered: %1"},
    {kTextAnsweredTooOften, 0, "The same question came up again and again. Answered: %1"},

    {100460, 0, "OK"},
    {100461, 0, "Cancel"},

    // Login to a workgroup server.
    {1500379, 6, "User name"},
    {1500379, 7, "Password"},
    {1500388, 1, "Log in to server"},
    {1500388, 2, "Save user name"},
    {1500388, 3, "Save password"},
    {1500389, 1, "The server did not accept the user name."},
    {1500389, 2, "The server did not accept the password."},

    {1500431, 0,
     "Projects on workgroup servers will not be supported in a future release. Move your projects to the cloud in good "
     "time."},
    {1500454, 0, "This file already exists. Do you want to replace it?"},
    {1500493, 0, "The team of the standard resources could not be found (error %1).\n%2"},

    // What is travelling. Texts that end without a full stop are followed by the place or the size.
    {1500506, 0, "Downloading project from"},
    {1500507, 0, "Downloading file from"},
    {1500508, 0, "Downloading %1 files from"},
    {1500509, 0, "Updating project in"},
    {1500510, 0, "Updating file of project in"},
    {1500511, 0, "Updating files of project in"},
    {1500512, 0, "File %1 of %2"},
    {1500513, 0, "Downloading \"%1\""},
    {1500514, 0, "Uploading \"%1\""},
    {1500517, 0, "Files: %1"},
    {1500548, 0, "Downloading drawing files and layouts"},

    // Standard resources. The first parameter is the status; names and paths stand on lines of their own.
    {1500647, 0, "It could not be determined whether the standard resources are locked (error %1).\n%2"},
    {1500648, 0, "The standard resources could not be downloaded (error %1).\n%2"},
    {1500654, 0, "The standard resources could not be created (error %1).\n%2"},
    {1500655, 0, "The standard resources could not be deleted (error %1).\n%2"},
    {1500657, 0, "The standard resources could not be locked (error %1).\n%2"},
    {1500658, 0, "The standard resources could not be unlocked (error %1)."},
    {1500659, 0, "The standard resources could not be uploaded (error %1).\n%2"},
    {1500660, 0, "The standard resources could not be copied (error %1).\n%2\n%3"},
    {1500661, 0, "The list of standard resources could not be read (error %1)."},
    {1500662, 0, "The standard resources could not be subscribed to (error %1).\n%2"},
    {1500663, 0, "The subscription to the standard resources could not be ended (error %1)."},

    {1500772, 0,
     "The project was last saved with a release that is too old for this program. Convert the project with a release "
     "in "
     "between first."},
    {1500773, 0,
     "The project was last saved with a newer release than this program. Open the project with the newer release."},
    {1501623, 0, "Server"},
    {1501646, 0, "Error"},
    {1502500, 0, "The file is not locked for you. It can't be uploaded."},
    {1502674, 0, "Files could not be transferred to or from the server."},
    {1502913, 0, "Reading file information from the server"},
    {1800533, 0, "Do not show this message again"},
    {2500124, 0, "Files that were not uploaded, project"},
    {2500481, 0, "Please wait. The project's files are being checked"},
    {2500482, 0, "Packing"},
    {2500483, 0, "Unpacking"},
    {2500484, 0, "files"},
    {2500485, 0, "The archive holds a link to a project of another user:"},
    {2500486, 0, "Two of the files have the same name. They can't go into one archive."},
    {3201973, 0, "Do you want to try again?"},
};

}  // namespace

std::span<const LanguageText> englishTexts() {
  return kEnglish;
}

}  // namespace workstation
