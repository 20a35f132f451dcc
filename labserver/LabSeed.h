#pragma once

class LabTransaction;

/// Fills a new store with the data of a small laboratory. @throws SqliteError
void InsertSeed(LabTransaction& transaction);
