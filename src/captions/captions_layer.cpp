// The captions layer starts here.
