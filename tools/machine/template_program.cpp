// The bare program that the version fixture copies and stamps with a version
// resource: it must carry none of its own.
int main() { return 0; }
