"""The proofs of docs/trust.md. `scripts/proofs NAME` runs one; proofs/harness.py holds what they share."""
