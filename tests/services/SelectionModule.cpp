// A host's module with one of the two exports that the library asks for; it says no.
extern "C" __attribute__((visibility("default"))) bool IsSelectionDialogActiv() {
  return false;
}
