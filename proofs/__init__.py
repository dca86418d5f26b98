"""The proofs of docs/trust.md. `scripts/proofs NAME` runs one; proofs/harness.py has the code that they share."""
