namespace tsly { extern const int zz; const int zz = 0; }
