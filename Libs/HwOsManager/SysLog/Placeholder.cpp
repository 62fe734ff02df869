// Placeholder so the library has a source until its code lands.
