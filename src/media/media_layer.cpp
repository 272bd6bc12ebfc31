// The media layer starts here.
