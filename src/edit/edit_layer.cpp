// Anchors the editing-engine library so it links before any operation exists.
namespace brevelan::edit_layer {
int anchor() { return 0; }
}  // namespace brevelan::edit_layer
