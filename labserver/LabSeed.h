#pragma once

class LabTransaction;

/// Fills a new store with what a small laboratory would have in it. @throws SqliteError
void InsertSeed(LabTransaction& transaction);
